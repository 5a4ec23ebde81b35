// Takes the target of a request apart.
#include "zel/serve/Target.h"

#include "export/Text.h"

namespace zel {

namespace {

constexpr std::size_t quotedAtMost = 48;

int hexadecimal(char digit) {
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    const char letter = static_cast<char>(digit | 0x20);
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

// The text without percent signs; false for one that is no code, and for what is not printable.
bool decode(std::string_view text, bool plusIsBlank, std::string &out) {
    out.clear();
    for (std::size_t at = 0; at < text.size(); ++at) {
        char byte = text[at];
        if (byte == '%') {
            const int high = at + 2 < text.size() ? hexadecimal(text[at + 1]) : -1;
            const int low = at + 2 < text.size() ? hexadecimal(text[at + 2]) : -1;
            if (high < 0 || low < 0)
                return false;
            byte = static_cast<char>(high * 16 + low);
            at += 2;
        } else if (byte == '+' && plusIsBlank) {
            byte = ' ';
        }
        if (!isPlainByte(byte))
            return false;
        out += byte;
    }
    return true;
}

bool readParameters(std::string_view query, Target &target) {
    while (!query.empty()) {
        const std::size_t end = query.find('&');
        const std::string_view part = query.substr(0, end);
        query.remove_prefix(end == std::string_view::npos ? query.size() : end + 1);
        if (part.empty())
            continue;
        if (target.parameters.size() == PARAMETERS_AT_MOST) {
            target.problem = "more than " + std::to_string(PARAMETERS_AT_MOST) + " parameters";
            return false;
        }
        const std::size_t equals = part.find('=');
        const std::string_view value = equals == std::string_view::npos ? "" : part.substr(equals + 1);
        Parameter parameter;
        if (!decode(part.substr(0, equals), true, parameter.name) || !decode(value, true, parameter.value)) {
            target.problem = "the parameter " + quotedForClient(part) + " is not encoded as a URL has it";
            return false;
        }
        target.parameters.push_back(std::move(parameter));
    }
    return true;
}

// "http://host:9100/metrics" as a proxy is asked for it: the authority is taken off.
void takeAuthority(std::string_view &text, Target &target) {
    for (const std::string_view scheme : {"http://", "https://"}) {
        if (!text.starts_with(scheme))
            continue;
        text.remove_prefix(scheme.size());
        const std::size_t end = text.find_first_of("/?");
        target.authority = text.substr(0, end);
        target.hasAuthority = true;
        text.remove_prefix(end == std::string_view::npos ? text.size() : end);
        if (text.empty())
            text = "/";
        return;
    }
}

} // namespace

Target readTarget(std::string_view text) {
    Target target;
    takeAuthority(text, target);
    const std::size_t question = text.find('?');
    const std::string_view path = text.substr(0, question);
    if (path.empty() || path[0] != '/') {
        target.problem = "the path " + quotedForClient(path) + " does not begin with a slash";
        return target;
    }
    if (text.find('#') != std::string_view::npos) {
        target.problem = "a request names no part of a page (#)";
        return target;
    }
    if (!decode(path, false, target.path)) {
        target.problem = "the path " + quotedForClient(path) + " is not encoded as a URL has it";
        return target;
    }
    if (question != std::string_view::npos)
        readParameters(text.substr(question + 1), target);
    return target;
}

std::string quotedForClient(std::string_view text) {
    std::string quoted = "'";
    for (const char byte : text.substr(0, quotedAtMost))
        quoted += isPlainByte(byte) ? byte : '?';
    quoted += text.size() > quotedAtMost ? "...'" : "'";
    return quoted;
}

} // namespace zel
