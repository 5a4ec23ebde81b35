// The tokenisers and text functions of NStringLib, against models that keep the text whole.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "NStringLib.h"
#include "host/ShellSafe.h"

#include <algorithm>
#include <vector>

namespace {

using Tokens = std::vector<std::string>;

// Every piece between occurrences of `separator`.
Tokens splitAtText(const std::string &text, const std::string &separator) {
    Tokens tokens;
    std::size_t start = 0;
    for (std::size_t end; !separator.empty() && (end = text.find(separator, start)) != std::string::npos;
         start = end + separator.size())
        tokens.push_back(text.substr(start, end - start));
    tokens.push_back(text.substr(start));
    return tokens;
}

// Every piece between runs of the characters of `delimiters`.
Tokens splitAtRuns(const std::string &text, const std::string &delimiters) {
    Tokens tokens;
    std::size_t start = 0;
    for (std::size_t end; (end = text.find_first_of(delimiters, start)) != std::string::npos;) {
        tokens.push_back(text.substr(start, end - start));
        start = std::min(text.find_first_not_of(delimiters, end), text.size());
    }
    tokens.push_back(text.substr(start));
    return tokens;
}

Tokens tokensOf(char *(*tokenise)(char *, const char *, char **), std::string text, const std::string &separator) {
    Tokens tokens;
    char *save = nullptr;
    for (const char *token = tokenise(text.data(), separator.c_str(), &save); token != nullptr;
         token = tokenise(nullptr, separator.c_str(), &save))
        tokens.emplace_back(token);
    return tokens;
}

std::string quotedWord(const std::string &text) {
    const std::size_t quote = text.find('"');
    if (quote == std::string::npos)
        return text;
    const std::string behind = text.substr(quote + 1);
    return behind.substr(0, behind.find(' '));
}

int sign(int value) {
    return (value > 0) - (value < 0);
}

} // namespace

FUZZ_TARGET(tokenisers_fuzz) {
    const std::string text = input.text();
    const std::string separator = input.text();
    const std::string other = input.text();
    fuzz::ensure(tokensOf(Nstrstrtok, text, separator) == splitAtText(text, separator), "other tokens at a text");
    fuzz::ensure(tokensOf(Nstrtok, text, separator) == splitAtRuns(text, separator), "other tokens at characters");

    const std::size_t digits = text.find_first_of("+-") == 0 ? 1 : 0;
    const bool number = !text.empty() && text.find_first_not_of("0123456789", digits) == std::string::npos;
    fuzz::ensure(Nisdigit(text.c_str()) == (number ? 1 : 0), "another verdict on a number");

    std::string cut = text;
    fuzz::ensure(NCutQmark(cut.data()) == quotedWord(text), "another quoted word");

    const int order = NOidCmp(text.c_str(), other.c_str());
    fuzz::ensure(order == sign(order), "no order");
    fuzz::ensure(NOidCmp(other.c_str(), text.c_str()) == -order, "the order turns around");
    fuzz::ensure(NOidCmp(text.c_str(), text.c_str()) == 0, "an identifier differs from itself");

    const bool safe = !text.empty() && text.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                                              "0123456789._-:@") == std::string::npos;
    fuzz::ensure(zel::shellSafe(text) == safe, "another verdict on a name");
}
