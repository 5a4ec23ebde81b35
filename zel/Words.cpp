// Finds the word that was meant.
#include "zel/Words.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <vector>

namespace zel {

namespace {

constexpr std::size_t longestWord = 64; // what is longer is no slip of the finger
constexpr std::size_t lettersPerSlip = 3;
constexpr std::size_t shortestBeginning = 2;

} // namespace

// Rows of the usual table, of which three are needed: swapped neighbours look two rows back.
std::size_t editDistance(std::string_view one, std::string_view other) {
    std::vector<std::size_t> beforeLast(other.size() + 1), last(other.size() + 1), row(other.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= one.size(); ++i) {
        beforeLast.swap(last);
        last.swap(row);
        row[0] = i;
        for (std::size_t j = 1; j <= other.size(); ++j) {
            const std::size_t change = last[j - 1] + (one[i - 1] == other[j - 1] ? 0 : 1);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, change});
            if (i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1])
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
    }
    return row[other.size()];
}

std::string_view nearestWord(std::string_view wrong, std::span<const std::string_view> words) {
    std::string_view nearest;
    std::size_t least = std::max<std::size_t>(1, wrong.size() / lettersPerSlip) + 1;
    if (wrong.size() > longestWord)
        return nearest;
    for (const std::string_view word : words) {
        const std::size_t distance = editDistance(wrong, word);
        if (distance < least) {
            least = distance;
            nearest = word;
        }
    }
    if (!nearest.empty() || wrong.size() < shortestBeginning)
        return nearest;
    const auto begins = [wrong](std::string_view word) { return word.starts_with(wrong) || wrong.starts_with(word); };
    const auto found = std::find_if(words.begin(), words.end(), begins);
    return found == words.end() ? std::string_view() : *found;
}

std::string listed(std::span<const std::string_view> words) {
    std::string text;
    for (const std::string_view word : words) {
        text += text.empty() ? "" : ", ";
        text += word;
    }
    return text;
}

} // namespace zel
