// The values of every type as text.
#include "CommaLocale.h"
#include "NGFunctions.h"
#include "NStringLib.h"
#include "SystemHooks.h"

#include <cfloat>
#include <climits>
#include <cstdint>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::Each;
using testing::StartsWith;

constexpr int octetTypes[] = {4, 6, 64, 192, 194};

// A caller's text buffer, filled with garbage at first.
struct TextBuffer {
    TextBuffer() { std::memset(text, 'x', 128); }
    ~TextBuffer() { std::free(text); }
    TextBuffer(const TextBuffer &) = delete;
    TextBuffer &operator=(const TextBuffer &) = delete;

    char *text = static_cast<char *>(std::malloc(128));
};

template<typename Value> std::string textOf(Value value, int type) {
    TextBuffer buffer;
    const char *result = NValueVtoA(&value, &buffer.text, type, sizeof(value));
    EXPECT_EQ(result, buffer.text);
    return result != nullptr ? result : "(null)";
}

// A value of a conversion from text.
struct Value {
    ~Value() { std::free(bytes); }

    template<typename Number> Number as() const {
        Number number;
        std::memcpy(&number, bytes, sizeof(number));
        return number;
    }
    void *bytes = nullptr;
};

template<typename Number> Number valueOf(const char *text, int type) {
    Value value;
    const void *result = NValueAtoV(text, &value.bytes, type, 0);
    EXPECT_EQ(result, value.bytes);
    EXPECT_NE(result, nullptr);
    return result != nullptr ? value.as<Number>() : Number{};
}

// --- Value to text -------------------------------------------------------------------------------------------------

TEST(ValueToText, Type1IsASignedByte) {
    EXPECT_EQ(textOf<std::int8_t>(-128, 1), "-128");
    EXPECT_EQ(textOf<std::uint8_t>(255, 1), "-1");
    EXPECT_EQ(textOf<std::int8_t>(127, 1), "127");
}

TEST(ValueToText, Type2IsASigned32BitInteger) {
    EXPECT_EQ(textOf<std::int32_t>(INT_MIN, 2), "-2147483648");
    EXPECT_EQ(textOf<std::int32_t>(INT_MAX, 2), "2147483647");
}

TEST(ValueToText, Type9IsASinglePrecisionFloat) {
    EXPECT_EQ(textOf(1.5F, 9), "1.500000");
    // 2^128 - 2^104
    EXPECT_EQ(textOf(-FLT_MAX, 9), "-340282346638528859811704183484516925440.000000");
}

TEST(ValueToText, Types66And67AreUnsigned32BitIntegers) {
    EXPECT_EQ(textOf<std::uint32_t>(UINT32_MAX, 66), "4294967295");
    EXPECT_EQ(textOf<std::uint32_t>(UINT32_MAX, 67), "4294967295");
    EXPECT_EQ(textOf<std::uint32_t>(0, 66), "0");
}

TEST(ValueToText, Type193IsASigned64BitInteger) {
    EXPECT_EQ(textOf<std::int64_t>(INT64_MIN, 193), "-9223372036854775808");
    EXPECT_EQ(textOf<std::int64_t>(INT64_MAX, 193), "9223372036854775807");
}

TEST(ValueToText, ValuesMayLieUnaligned) {
    TextBuffer buffer;
    char bytes[9] = {};
    const std::int64_t number = -42;
    std::memcpy(bytes + 1, &number, sizeof(number));

    EXPECT_STREQ(NValueVtoA(bytes + 1, &buffer.text, 193, 8), "-42");
    EXPECT_STREQ(NValueVtoA(bytes + 1, &buffer.text, 2, 4), "-42");
}

TEST(ValueToText, ShortBytesAreCopiedIntoTheClearedBuffer) {
    for (const int type : octetTypes) {
        TextBuffer buffer;
        char *const given = buffer.text;

        EXPECT_EQ(NValueVtoA("a\0b!", &buffer.text, type, 3), given) << type;

        EXPECT_EQ(buffer.text, given);
        EXPECT_EQ(std::string(given, 128), std::string("a\0b", 3) + std::string(125, '\0')) << type;
    }
}

TEST(ValueToText, NoBytesGiveTheEmptyText) {
    TextBuffer buffer;

    EXPECT_STREQ(NValueVtoA("abc", &buffer.text, 4, 0), "");
}

TEST(ValueToText, Bytes127FitTheBufferAnd128ReplaceIt) {
    const std::string bytes(200, 'b');
    for (const int type : octetTypes) {
        TextBuffer buffer;
        char *const given = buffer.text;

        EXPECT_EQ(NValueVtoA(bytes.data(), &buffer.text, type, 127), given) << type;
        EXPECT_EQ(std::string(buffer.text), std::string(127, 'b'));

        const char *longer = NValueVtoA(bytes.data(), &buffer.text, type, 128);
        EXPECT_EQ(longer, buffer.text) << type;
        EXPECT_EQ(std::string(longer), std::string(128, 'b')) << type;
    }
}

TEST(ValueToText, LongBytesNeedNoBuffer) {
    const std::string bytes(100000, 'c');
    char *text = nullptr;

    EXPECT_EQ(NValueVtoA(bytes.data(), &text, 4, 100000), text);

    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text, bytes);
    std::free(text);
}

TEST(ValueToText, WithoutMemoryForLongBytesTheBufferIsGone) {
    const std::string bytes(128, 'c');
    TextBuffer buffer;

    systemHooks().failAllocationAfter = 0;
    EXPECT_EQ(NValueVtoA(bytes.data(), &buffer.text, 4, 128), nullptr);

    EXPECT_EQ(buffer.text, nullptr);
}

TEST(ValueToText, OtherTypesGiveAClearedBuffer) {
    const int number = 7;
    for (const int type : {65, 5, 0, -1, 3, 68, 195, INT_MAX}) {
        TextBuffer buffer;

        EXPECT_EQ(NValueVtoA(&number, &buffer.text, type, 4), buffer.text) << type;

        EXPECT_THAT(std::string(buffer.text, 128), Each('\0')) << type;
    }
}

TEST(ValueToText, NoValueGivesTheEmptyText) {
    for (const int type : {1, 2, 4, 5, 9, 66, 193, 65}) {
        TextBuffer buffer;
        EXPECT_STREQ(NValueVtoA(nullptr, &buffer.text, type, 4), "") << type;
    }
}

TEST(ValueToText, NegativeLengthGivesNullAndLeavesTheBuffer) {
    const int number = 7;
    TextBuffer buffer;
    for (const int type : {2, 4, 65})
        EXPECT_EQ(NValueVtoA(&number, &buffer.text, type, -1), nullptr) << type;

    EXPECT_EQ(std::string(buffer.text, 128), std::string(128, 'x'));
}

TEST(ValueToText, WithoutABufferGivesNull) {
    const int number = 7;
    char *text = nullptr;

    for (const int type : {1, 2, 4, 9, 66, 193, 65})
        EXPECT_EQ(NValueVtoA(&number, &text, type, 4), nullptr) << type;
    EXPECT_EQ(NValueVtoA(&number, nullptr, 2, 4), nullptr);
}

// "(DEBUG NO : 10705)[NStringLib:NValueVtoA:177]\n"
int lastStep() {
    int step = 0, line = 0;
    char end[2] = {};
    EXPECT_EQ(std::sscanf(g_strDebugDetail, "(DEBUG NO : %d)[NStringLib:NValueVtoA:%d%1[]]", &step, &line, end), 3)
        << g_strDebugDetail;
    EXPECT_GT(line, 0);
    EXPECT_EQ(std::string(g_strDebugDetail).find('\n'), std::strlen(g_strDebugDetail) - 1);
    return step;
}

TEST(ValueToText, RecordsTheLastStepItReached) {
    const std::string bytes(128, 'c');
    const double number = 0;
    std::vector<int> steps;

    for (const int type : {1, 2, 4, 9, 66, 193, 65}) {
        TextBuffer buffer;
        NValueVtoA(&number, &buffer.text, type, sizeof(number));
        steps.push_back(lastStep());
    }
    TextBuffer buffer;
    NValueVtoA(bytes.data(), &buffer.text, 4, 128);
    steps.push_back(lastStep());
    NValueVtoA(&number, &buffer.text, 2, -1);
    steps.push_back(lastStep());

    std::vector<int> distinct = steps;
    std::sort(distinct.begin(), distinct.end());
    EXPECT_EQ(std::unique(distinct.begin(), distinct.end()), distinct.end()) << "every way out has a step of its own";
    EXPECT_GE(distinct.front(), 10700);
    EXPECT_LE(distinct.back(), 10718);
}

TEST(ValueToText, TraceNamesTheStepBeforeAFailedAllocation) {
    const std::string bytes(128, 'c');
    TextBuffer buffer;
    NValueVtoA(bytes.data(), &buffer.text, 4, 128);
    const int finished = lastStep();

    systemHooks().failAllocationAfter = 0;
    NValueVtoA(bytes.data(), &buffer.text, 4, 128);

    EXPECT_NE(lastStep(), finished);
}

// --- Text to value -------------------------------------------------------------------------------------------------

TEST(TextToValue, Type1StoresASingleByte) {
    EXPECT_EQ(valueOf<std::int8_t>("-5", 1), -5);
    EXPECT_EQ(valueOf<std::int8_t>("300", 1), 44); // 300 - 256
}

TEST(TextToValue, Type1AllocatesOneByte) {
    // An address sanitizer sees a write past it; the block is the caller's to free.
    Value value;
    ASSERT_NE(NValueAtoV("127", &value.bytes, 1, 1), nullptr);
    EXPECT_EQ(value.as<std::int8_t>(), 127);
}

TEST(TextToValue, Type2IsASigned32BitInteger) {
    EXPECT_EQ(valueOf<std::int32_t>("-2147483648", 2), INT_MIN);
    EXPECT_EQ(valueOf<std::int32_t>("  17 apples", 2), 17);
    EXPECT_EQ(valueOf<std::int32_t>("4294967297", 2), 1);
}

TEST(TextToValue, Type9IsASinglePrecisionFloat) {
    EXPECT_EQ(valueOf<float>("1.5", 9), 1.5F);
    EXPECT_EQ(valueOf<float>("-2e3", 9), -2000.0F);
}

TEST(TextToValue, Types66And67AreUnsigned32BitIntegers) {
    EXPECT_EQ(valueOf<std::uint32_t>("4294967295", 66), UINT32_MAX);
    EXPECT_EQ(valueOf<std::uint32_t>("4294967295", 67), UINT32_MAX);
    EXPECT_EQ(valueOf<std::uint32_t>("-1", 66), UINT32_MAX);
}

TEST(TextToValue, Type193IsASigned64BitInteger) {
    EXPECT_EQ(valueOf<std::int64_t>("-9223372036854775808", 193), INT64_MIN);
    EXPECT_EQ(valueOf<std::int64_t>("9223372036854775807", 193), INT64_MAX);
}

TEST(TextToValue, TextWithoutDigitsIsZero) {
    EXPECT_EQ(valueOf<std::int8_t>("abc", 1), 0);
    EXPECT_EQ(valueOf<std::int32_t>("abc", 2), 0);
    EXPECT_EQ(valueOf<float>("abc", 9), 0.0F);
    EXPECT_EQ(valueOf<std::uint32_t>("abc", 66), 0U);
    EXPECT_EQ(valueOf<std::int64_t>("abc", 193), 0);
}

TEST(TextToValue, BytesAreCopiedAndTerminated) {
    for (const int type : octetTypes) {
        Value value;
        ASSERT_NE(NValueAtoV("abcdef", &value.bytes, type, 4), nullptr) << type;
        EXPECT_STREQ(static_cast<const char *>(value.bytes), "abcd") << type;
    }
}

TEST(TextToValue, BytesBehindAShorterTextAreZero) {
    Value value;
    ASSERT_NE(NValueAtoV("ab", &value.bytes, 4, 1000), nullptr);

    EXPECT_EQ(std::string(static_cast<const char *>(value.bytes), 1001), "ab" + std::string(999, '\0'));
}

TEST(TextToValue, NoBytesGiveATerminatorAlone) {
    Value value;
    ASSERT_NE(NValueAtoV("ab", &value.bytes, 4, 0), nullptr);

    EXPECT_STREQ(static_cast<const char *>(value.bytes), "");
}

TEST(TextToValue, Type5Gives128ZeroBytes) {
    Value value;
    ASSERT_NE(NValueAtoV("anything", &value.bytes, 5, 0), nullptr);

    EXPECT_THAT(std::string(static_cast<const char *>(value.bytes), 128), Each('\0'));
}

TEST(TextToValue, OtherTypesFreeThePreviousValueAndGiveNull) {
    for (const int type : {65, 0, -1, 3, 195}) {
        Value value;
        value.bytes = std::malloc(16); // a leak checker sees it when it is not freed

        EXPECT_EQ(NValueAtoV("7", &value.bytes, type, 4), nullptr) << type;

        EXPECT_EQ(value.bytes, nullptr) << type;
    }
}

TEST(TextToValue, PreviousValueIsReplaced) {
    Value value;
    ASSERT_NE(NValueAtoV("7", &value.bytes, 2, 4), nullptr);

    ASSERT_NE(NValueAtoV("8", &value.bytes, 193, 8), nullptr);

    EXPECT_EQ(value.as<std::int64_t>(), 8);
}

TEST(TextToValue, NegativeLengthAndEmptyTextGiveNullAndKeepThePreviousValue) {
    Value value;
    ASSERT_NE(NValueAtoV("7", &value.bytes, 2, 4), nullptr);

    EXPECT_EQ(NValueAtoV("8", &value.bytes, 2, -1), nullptr);
    EXPECT_EQ(NValueAtoV("", &value.bytes, 2, 4), nullptr);
    EXPECT_EQ(NValueAtoV(nullptr, &value.bytes, 2, 4), nullptr);

    EXPECT_EQ(value.as<std::int32_t>(), 7);
}

TEST(TextToValue, WithoutMemoryGivesNull) {
    for (const int type : {1, 2, 4, 5, 9, 66, 193}) {
        Value value;
        systemHooks().failAllocationAfter = 0;
        EXPECT_EQ(NValueAtoV("7", &value.bytes, type, 4), nullptr) << type;
        EXPECT_EQ(value.bytes, nullptr) << type;
    }
}

TEST(ValueConversion, FloatsHaveADecimalPointUnderEveryLocale) {
    const CommaLocale locale;
    if (locale.whyNot() != nullptr)
        GTEST_SKIP() << locale.whyNot();
    EXPECT_EQ(valueOf<float>("1.5", 9), 1.5F);
    EXPECT_EQ(textOf(1.5F, 9), "1.500000");
}

TEST(ValueConversion, TextOfAValueGivesTheValueBack) {
    for (const int type : {1, 2, 9, 66, 67, 193}) {
        Value value;
        TextBuffer buffer;
        ASSERT_NE(NValueAtoV("42", &value.bytes, type, 0), nullptr);
        EXPECT_THAT(NValueVtoA(value.bytes, &buffer.text, type, 0), StartsWith("42")) << type;
    }
}

} // namespace
