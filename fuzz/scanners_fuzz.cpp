// The number scanners and the field scanner of the hot paths against strtoull, strtoll and sscanf, and the toolkit's
// walk over lines and tokens.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "SSUtil.h"
#include "kernel/FieldScanner.h"
#include "kernel/KernelText.h"
#include "kernel/WholeFile.h"
#include "text/LineReader.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

void ensureNumbers(const char *text) {
    char *end = nullptr;
    const char *cursor = text;
    fuzz::ensure(zel::takeUnsigned(cursor) == std::strtoull(text, &end, 10), "another number than strtoull");
    fuzz::ensure(cursor == end, "another end than strtoull");
    cursor = text;
    fuzz::ensure(zel::takeSigned(cursor) == std::strtoll(text, &end, 10), "another number than strtoll");
    fuzz::ensure(cursor == end, "another end than strtoll");

    unsigned long long expected = 0;
    unsigned long long found = 0;
    cursor = text;
    const bool hexadecimal = std::sscanf(text, "%llX", &expected) == 1;
    fuzz::ensure(zel::scanHexadecimal(cursor, found) == hexadecimal, "another verdict on a hexadecimal number");
    fuzz::ensure(!hexadecimal || found == expected, "another hexadecimal number than sscanf");
}

void ensureFields(const char *text) {
    int number[2] = {};
    char word[8] = {};
    unsigned narrow = 0;
    unsigned long long wide = 0;
    const int expected = std::sscanf(text, "%4d %d %7s %*d %u %llu", &number[0], &number[1], word, &narrow, &wide);
    int foundNumber[2] = {};
    char foundWord[8] = {};
    unsigned foundNarrow = 0;
    unsigned long long foundWide = 0;
    zel::FieldScanner fields(text);
    static_cast<void>(fields.takeInt(foundNumber[0], 4) && fields.takeInt(foundNumber[1]) &&
                      fields.takeWord(foundWord, 7) && fields.skipNumber() && fields.takeUnsigned(foundNarrow) &&
                      fields.takeUnsigned(foundWide));
    fuzz::ensure(fields.conversions() == (expected < 0 ? 0 : expected), "another number of conversions than sscanf");
    fuzz::ensure(foundNumber[0] == number[0] && foundNumber[1] == number[1] && std::strcmp(word, foundWord) == 0 &&
                     foundNarrow == narrow && foundWide == wide,
                 "another field than sscanf");
}

// Lines of at most `limit` characters, pieced together, are the text.
void ensureLines(const std::string &text, std::size_t limit) {
    const std::unique_ptr<char[]> buffer(new char[text.size() + 1]); // a byte of room and no more
    std::memcpy(buffer.get(), text.data(), text.size());
    buffer[text.size()] = '\0';
    std::string joined;
    {
        zel::LineWalk lines(buffer.get(), text.size(), limit);
        while (const char *line = lines.next()) {
            const std::string piece = line;
            fuzz::ensure(!piece.empty() && piece.size() <= limit, "a line of no or too many characters");
            joined += piece;
        }
    }
    fuzz::ensure(joined == text, "lines that are not the text");
    fuzz::ensure(std::memcmp(buffer.get(), text.data(), text.size()) == 0, "the text is not whole again");
}

void ensureToolkit(const std::string &text, int size) {
    std::string copy = text;
    char line[64];
    char *cursor = copy.data();
    while (CSSUtil::fBuff2Line(&cursor, line, size) != 0)
        fuzz::ensure(cursor <= copy.data() + copy.size(), "the walk leaves the text");
    const char *token = CSSUtil::fSkipToken(CSSUtil::fSkipWs(copy.c_str()));
    fuzz::ensure(token <= copy.data() + copy.size(), "a token leaves the text");
    const std::unique_ptr<char[]> area(new char[static_cast<std::size_t>(size) + 1]);
    const int copied = CSSUtil::fStr2Str(area.get(), text.c_str(), size);
    fuzz::ensure(copied <= size && std::strlen(area.get()) == static_cast<std::size_t>(copied),
                 "a copy beyond its area");
}

void ensureKey(const std::string &text, const std::string &key, std::size_t rare) {
    if (key.empty())
        return;
    const char *found = zel::findKey(text, key, rare % key.size());
    const std::size_t place = text.find(key);
    fuzz::ensure(place == std::string::npos ? found == nullptr : found == text.data() + place,
                 "another place of a key");
}

} // namespace

FUZZ_TARGET(scanners_fuzz) {
    const unsigned options = input.byte();
    const std::string text = input.text();
    ensureNumbers(text.c_str());
    ensureFields(text.c_str());
    ensureLines(text, 1 + (options & 15));
    ensureToolkit(text, static_cast<int>(1 + (options & 63)));
    ensureKey(text, input.text(), options);
}
