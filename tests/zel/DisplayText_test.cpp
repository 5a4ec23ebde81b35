// Texts from outside on a terminal: nothing in them acts on it, and their width is known.
#include "zel/DisplayText.h"

#include <gtest/gtest.h>

namespace {

using zel::Charset;

constexpr const char *sign = "\xef\xbf\xbd"; // U+FFFD

TEST(DisplayText, EveryControlByteIsReplaced) {
    for (unsigned byte = 0; byte < 0x100; ++byte) {
        const std::string text = {'a', static_cast<char>(byte), 'z'};
        const bool plain = byte >= 0x20 && byte < 0x7f;
        EXPECT_EQ(zel::displayText(text, Charset::Utf8), plain ? text : std::string("a") + sign + "z") << byte;
        EXPECT_EQ(zel::displayText(text, Charset::Ascii), plain ? text : "a?z") << byte;
    }
}

TEST(DisplayText, ControlsThatTwoBytesSpellAreReplaced) {
    for (unsigned second = 0x80; second < 0xa0; ++second) {
        const std::string text = {'\xc2', static_cast<char>(second)};
        EXPECT_EQ(zel::displayText(text, Charset::Utf8), sign) << second;
    }
    EXPECT_EQ(zel::displayText("\xc2\xa0", Charset::Utf8), "\xc2\xa0");
}

TEST(DisplayText, DirectionsAndWhatTakesNoRoomAreReplaced) {
    for (const char *text : {"\xd8\x9c", "\xe2\x80\x8b", "\xe2\x80\x8d", "\xe2\x80\x8e", "\xe2\x80\x8f", "\xe2\x80\xa8",
                             "\xe2\x80\xaa", "\xe2\x80\xae", "\xe2\x81\xa0", "\xe2\x81\xa6", "\xe2\x81\xa9",
                             "\xef\xbb\xbf", "\xc2\xad", "\xe3\x85\xa4", "\xef\xb8\x8f", "\xf3\xa0\x80\xa0"})
        EXPECT_EQ(zel::displayText(text, Charset::Utf8), sign);
}

TEST(DisplayText, LettersNeedATerminalThatShowsThem) {
    EXPECT_EQ(zel::displayText("caf\xc3\xa9 \xe6\x97\xa5", Charset::Utf8), "caf\xc3\xa9 \xe6\x97\xa5");
    EXPECT_EQ(zel::displayText("caf\xc3\xa9 \xe6\x97\xa5", Charset::Ascii), "caf? ?");
}

TEST(DisplayWidth, CountsColumns) {
    EXPECT_EQ(zel::displayWidth(""), 0U);
    EXPECT_EQ(zel::displayWidth("disk"), 4U);
    EXPECT_EQ(zel::displayWidth("caf\xc3\xa9"), 4U);
    EXPECT_EQ(zel::displayWidth("e\xcc\x81"), 1U);                // a letter and its accent
    EXPECT_EQ(zel::displayWidth("\xe6\x97\xa5\xe6\x9c\xac"), 4U); // two ideographs
    EXPECT_EQ(zel::displayWidth("\xf0\x9f\x98\x80"), 2U);         // a face
    EXPECT_EQ(zel::displayWidth(sign), 1U);
}

TEST(CutText, MarksWhatIsMissing) {
    EXPECT_EQ(zel::cutText("abcdef", 6, Charset::Ascii), "abcdef");
    EXPECT_EQ(zel::cutText("abcdef", 5, Charset::Ascii), "abcd~");
    EXPECT_EQ(zel::cutText("abcdef", 5, Charset::Utf8), "abcd\xe2\x80\xa6");
    EXPECT_EQ(zel::cutText("abcdef", 1, Charset::Ascii), "~");
    EXPECT_EQ(zel::cutText("", 1, Charset::Ascii), "");
}

TEST(CutText, NeverTakesMoreThanItsWidth) {
    const std::string text = "a\xe6\x97\xa5"
                             "b\xe6\x9c\xac\xf0\x9f\x98\x80"
                             "e\xcc\x81z";
    for (std::size_t width = 1; width < 14; ++width) {
        const std::string cut = zel::cutText(text, width, Charset::Utf8);
        EXPECT_LE(zel::displayWidth(cut), width);
        EXPECT_EQ(zel::displayText(cut, Charset::Utf8), cut) << "a character is cut in two";
    }
}

} // namespace
