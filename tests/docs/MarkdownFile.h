// A Markdown file as the tests of the documents read it: tables, fenced blocks, code spans, links.
#pragma once

#include "Paths.h"

#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <string>
#include <vector>

struct MarkdownTable {
    std::string section; // last heading, without its "#"
    std::string caption; // last line of text before the table
    std::vector<std::string> header;
    std::vector<std::vector<std::string>> rows;

    /// The cell of a row in a column; empty when the table has no such column.
    std::string cell(const std::vector<std::string> &row, const std::string &column) const {
        for (std::size_t i = 0; i < header.size() && i < row.size(); ++i) {
            if (header[i] == column)
                return row[i];
        }
        return {};
    }
};

struct MarkdownBlock {
    std::string info; // what follows the opening fence: "cpp"
    std::string text;
};

/// The texts between backticks.
inline std::vector<std::string> codeSpans(const std::string &text) {
    std::vector<std::string> spans;
    for (std::size_t start = text.find('`'); start != std::string::npos; start = text.find('`', start)) {
        const std::size_t end = text.find('`', start + 1);
        if (end == std::string::npos)
            break;
        spans.push_back(text.substr(start + 1, end - start - 1));
        start = end + 1;
    }
    return spans;
}

/// The first of them; empty without any.
inline std::string firstCode(const std::string &text) {
    const auto spans = codeSpans(text);
    return spans.empty() ? "" : spans[0];
}

class MarkdownFile {
public:
    /// Reads a file by its path from the root of the tree.
    explicit MarkdownFile(const std::string &path) : name(path) {
        std::ifstream file(std::string(paths::sourceRoot) + "/" + path);
        EXPECT_TRUE(file.is_open()) << path;
        bool inTable = false;
        bool inBlock = false;
        std::string section;
        std::string caption;
        for (std::string line; std::getline(file, line);) {
            const bool fence = line.starts_with("```");
            if (fence && !inBlock)
                blocks.push_back({line.substr(3), {}});
            else if (!fence && inBlock)
                blocks.back().text += line + "\n";
            if (fence || inBlock) {
                inBlock = fence ? !inBlock : inBlock;
                continue;
            }
            prose += line + "\n";
            if (line.starts_with('|')) {
                takeTableLine(line, inTable, section, caption);
                inTable = true;
                continue;
            }
            inTable = false;
            if (line.starts_with('#'))
                section = line.substr(line.find_first_not_of("# "));
            if (!line.empty())
                caption = line;
        }
        EXPECT_FALSE(inBlock) << path << " ends inside a block";
    }

    std::string name;
    std::string prose; // everything outside fenced blocks
    std::vector<MarkdownTable> tables;
    std::vector<MarkdownBlock> blocks;

private:
    // Cells between bars; an escaped bar belongs to its cell.
    static std::vector<std::string> cells(const std::string &line) {
        std::vector<std::string> result;
        std::string cell;
        for (std::size_t i = 1; i < line.size(); ++i) {
            if (line[i] == '\\' && i + 1 < line.size() && line[i + 1] == '|')
                cell += line[++i];
            else if (line[i] != '|')
                cell += line[i];
            else {
                const std::size_t first = cell.find_first_not_of(' ');
                const std::size_t last = cell.find_last_not_of(' ');
                result.push_back(first == std::string::npos ? "" : cell.substr(first, last - first + 1));
                cell.clear();
            }
        }
        return result;
    }

    void takeTableLine(const std::string &line, bool inTable, const std::string &section, const std::string &caption) {
        if (!inTable) {
            tables.push_back({section, caption, cells(line), {}});
            return;
        }
        if (line.find_first_not_of("|-: ") == std::string::npos)
            return;
        tables.back().rows.push_back(cells(line));
        EXPECT_EQ(tables.back().rows.back().size(), tables.back().header.size()) << name << ": " << line;
    }
};
