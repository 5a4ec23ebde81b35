// Writes help texts that fit a terminal of 80 columns.
#include "zel/Help.h"

#include "host/Schema.h"

#include <algorithm>

namespace zel {

namespace {

constexpr std::size_t lineLength = 79;
constexpr std::size_t indent = 2, gap = 2;

// Words of a text from column `start` on; the lines after the first one begin there too.
void appendWrapped(std::string &out, std::string_view text, std::size_t start) {
    std::size_t column = start;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(' ', at), text.size());
        const std::string_view word = text.substr(at, end - at);
        if (column > start && column + 1 + word.size() > lineLength) {
            out += '\n';
            out.append(start, ' ');
            column = start;
        }
        if (column > start) {
            out += ' ';
            ++column;
        }
        out += word;
        column += word.size();
        at = end + 1;
    }
    out += '\n';
}

struct Line {
    std::string left;
    std::string_view right;
};

void appendLines(std::string &out, const std::vector<Line> &lines) {
    std::size_t width = 0;
    for (const Line &line : lines)
        width = std::max(width, line.left.size());
    for (const Line &line : lines) {
        out.append(indent, ' ');
        out += line.left;
        out.append(width - line.left.size() + gap, ' ');
        appendWrapped(out, line.right, indent + width + gap);
    }
}

// An empty line between paragraphs.
void appendParagraphs(std::string &out, std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        appendWrapped(out, text.substr(at, end - at), 0);
        out += '\n';
        at = end + 1;
    }
}

void appendAreas(std::string &out) {
    std::string names;
    for (std::size_t area = 0; area < AREA_COUNT; ++area)
        names += std::string(area > 0 ? " " : "") + std::string(areaName(static_cast<Area>(area)));
    out += "areas\n";
    out.append(indent, ' ');
    appendWrapped(out, names, indent);
    out += '\n';
}

// The meaning of an example is in the line below: examples are long.
void appendExamples(std::string &out, std::span<const Example> examples) {
    for (const Example &example : examples) {
        out.append(indent, ' ');
        out += example.text;
        out += '\n';
        out.append(3 * indent, ' ');
        appendWrapped(out, example.meaning, 3 * indent);
    }
}

} // namespace

std::string generalHelp() {
    std::string text = "zel: this host as numbers, and what becomes of them\n\n"
                       "usage: zel COMMAND [argument...]\n\n";
    std::vector<Line> lines;
    for (const Command *command : allCommands())
        lines.push_back({std::string(command->name) + ' ' + std::string(command->words), command->summary});
    lines.push_back({"COMMAND --help", "what a command takes, with examples"});
    lines.push_back({"--version", "the version"});
    appendLines(text, lines);
    return text;
}

std::string commandHelp(const Command &command) {
    std::string text = "zel " + std::string(command.name) + ": ";
    text += command.summary;
    text += "\n\nusage: zel " + std::string(command.name) + ' ' + std::string(command.words) + " [option...]\n\n";
    appendParagraphs(text, command.about);
    if (command.words.find("AREA") != std::string_view::npos)
        appendAreas(text);
    text += "options\n";
    std::vector<Line> lines;
    for (const OptionEntry &option : command.options)
        lines.push_back(
            {std::string(option.name) + (option.value.empty() ? "" : " ") + std::string(option.value), option.help});
    lines.push_back({"--help", "this text"});
    appendLines(text, lines);
    text += "\nexamples\n";
    appendExamples(text, command.examples);
    text += "\nexit status\n";
    lines.clear();
    for (const Example &status : command.exitStatus)
        lines.push_back({std::string(status.text), status.meaning});
    appendLines(text, lines);
    return text;
}

} // namespace zel
