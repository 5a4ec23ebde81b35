// The line before a text: written, and read back from kept files.
#include "Record.h"

#include <charconv>
#include <vector>

namespace agent {

namespace {

std::vector<std::string_view> splitAtBlanks(std::string_view line) {
    std::vector<std::string_view> words;
    std::size_t start = 0;
    for (std::size_t end = line.find(' '); end != std::string_view::npos; end = line.find(' ', start)) {
        words.push_back(line.substr(start, end - start));
        start = end + 1;
    }
    words.push_back(line.substr(start));
    return words;
}

template<typename Number> bool readNumber(std::string_view word, Number &number) {
    const char *end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, number);
    return error == std::errc() && stop == end;
}

bool isWordCharacter(char character) {
    const bool letter = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
    const bool digit = character >= '0' && character <= '9';
    return letter || digit || std::string_view("._-:@").find(character) != std::string_view::npos;
}

} // namespace

std::string RecordHead::line() const {
    return host + ' ' + series + ' ' + std::to_string(number) + ' ' + name + ' ' + std::to_string(seconds) + ' ' +
           std::to_string(bytes);
}

std::string RecordHead::answer() const {
    return series + ' ' + std::to_string(number) + '\n';
}

bool RecordHead::isSameRecordAs(const RecordHead &other) const {
    return number == other.number && series == other.series && host == other.host;
}

bool isWord(std::string_view word) {
    if (word.empty() || word.size() > longestWord)
        return false;
    for (const char character : word) {
        if (!isWordCharacter(character))
            return false;
    }
    return true;
}

std::optional<RecordHead> readHead(std::string_view line) {
    const std::vector<std::string_view> words = splitAtBlanks(line);
    if (words.size() != 6 || !isWord(words[0]) || !isWord(words[1]) || !isWord(words[3]))
        return std::nullopt;
    RecordHead head;
    head.host = words[0];
    head.series = words[1];
    head.name = words[3];
    if (!readNumber(words[2], head.number) || !readNumber(words[4], head.seconds) || !readNumber(words[5], head.bytes))
        return std::nullopt;
    return head;
}

} // namespace agent
