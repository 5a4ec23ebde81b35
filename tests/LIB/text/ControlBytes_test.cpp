// Which bytes drive a terminal and become blanks, and which are part of UTF-8 and stay.
#include "text/ControlBytes.h"

#include <gtest/gtest.h>
#include <string>

namespace {

std::string blanked(std::string text) {
    zel::blankControlBytes(text.data(), text.size());
    return text;
}

TEST(ControlBytes, BelowBlankAndDelete) {
    EXPECT_EQ(blanked(std::string("a\0b\x01\x1f~\x7f!", 8)), "a b  ~ !");
}

TEST(ControlBytes, HighOnesAloneAndAsPair) {
    EXPECT_EQ(blanked("\x80|\x9b|\x9f|\xa0"), " | | |\xa0");
    EXPECT_EQ(blanked("\xc2\x80|\xc2\x9f|\xc2\xa0"), "  |  |\xc2\xa0");
}

TEST(ControlBytes, ThoseOfLettersStay) {
    for (const std::string letter : {"\xc3\x9b", "\xdf\x80", "\xe2\x82\xac", "\xe0\xa0\x80", "\xed\x9f\x80",
                                     "\xef\x80\x9b", "\xf0\x90\x80\x80", "\xf4\x8f\x9f\x80"})
        EXPECT_EQ(blanked(letter), letter);
}

// Cut characters, longer forms of smaller ones, surrogates, and what lies beyond the last character.
TEST(ControlBytes, ThoseOfNoValidCharacterAreBlanked) {
    EXPECT_EQ(blanked("\xe2\x82"), "\xe2 ");
    EXPECT_EQ(blanked("\xf0\x9b\x9b"), "\xf0  ");
    EXPECT_EQ(blanked("\xe2\x82\x1b["), "\xe2  [");
    EXPECT_EQ(blanked("\xc1\x9b"), "\xc1 ");
    EXPECT_EQ(blanked("\xe0\x9b\x9b"), "\xe0  ");
    EXPECT_EQ(blanked("\xed\xa0\x80"), "\xed\xa0 ");
    EXPECT_EQ(blanked("\xf0\x8f\x80\x80"), "\xf0   ");
    EXPECT_EQ(blanked("\xf4\x90\x80\x80"), "\xf4   ");
    EXPECT_EQ(blanked("\xf5\x80\x80\x80"), "\xf5   ");
}

TEST(ControlBytes, KeptOnesAreNotFound) {
    const zel::ControlBytes found = zel::findControlBytes("a\x03\x1f\x1b", 0, "\x03\x1f");
    EXPECT_EQ(found.at, 3U);
    EXPECT_EQ(found.length, 1U);
    EXPECT_EQ(zel::findControlBytes("abc", 1).length, 0U);
}

} // namespace
