// Reads the first line of a record.
#include "ReceivedRecord.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <system_error>

namespace {

constexpr std::size_t longestWord = 64;

bool isWord(std::string_view word) {
    constexpr std::string_view allowed = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-:@";
    return !word.empty() && word.size() <= longestWord && word.find_first_not_of(allowed) == std::string_view::npos;
}

template<typename Number> bool readNumber(std::string_view word, Number &number) {
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    return error == std::errc() && end == word.data() + word.size();
}

// The word up to the first blank of `rest`, which keeps what follows the blank.
std::string_view takeWord(std::string_view &rest) {
    const std::size_t blank = std::min(rest.find(' '), rest.size());
    const std::string_view word = rest.substr(0, blank);
    rest.remove_prefix(std::min(blank + 1, rest.size()));
    return word;
}

} // namespace

bool readRecordLine(const std::string &line, ReceivedRecord &record, std::size_t &bytes) {
    if (line.ends_with(' '))
        return false;
    std::string_view rest = line;
    const std::string_view host = takeWord(rest);
    const std::string_view series = takeWord(rest);
    const std::string_view number = takeWord(rest);
    const std::string_view name = takeWord(rest);
    unsigned long long seconds = 0; // for the reader of the line
    if (!isWord(host) || !isWord(series) || !isWord(name) || !readNumber(number, record.number) ||
        !readNumber(takeWord(rest), seconds) || !readNumber(rest, bytes))
        return false;
    record.host = host;
    record.series = series;
    record.line = line;
    return true;
}
