// The example agent's kept files: one queue by number over files of any name and age, and damage that costs nothing but
// itself.
#include "../../examples/agent/KeptFiles.h"

#include "AgentHome.h"
#include "Separators.h"
#include "StreamCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using agent::KeptFiles;
using agent::Record;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class AgentKeptFiles : public testing::Test {
protected:
    // The texts of all records, in the order of the queue.
    static std::vector<std::string> drain(KeptFiles &files) {
        std::vector<std::string> texts;
        files.look();
        while (files.oldest() != nullptr) {
            Record record;
            if (!files.read(record))
                continue;
            texts.push_back(record.text);
            files.dropOldest();
        }
        return texts;
    }
    static std::vector<std::string> drain() {
        KeptFiles files("now");
        return drain(files);
    }
    static void setAge(const std::string &name, int hours) {
        const auto time = std::filesystem::file_time_type::clock::now() - std::chrono::hours(hours);
        std::filesystem::last_write_time("../buffer/" + name, time);
    }
    static std::string record(int number, const std::string &text) { return AgentHome::record("now", number, text); }

    AgentHome home;
};

TEST_F(AgentKeptFiles, AreReadInTheOrderOfTheirNumbers) {
    home.keep("20260103-BUF_2.buf", record(1, "one") + record(2, "two"));
    home.keep("20260102-BUF_1.buf", record(3, "three"));
    home.keep("20260101-BUF_9.buf", record(4, "four"));
    setAge("20260103-BUF_2.buf", 1);
    setAge("20260102-BUF_1.buf", 5);
    setAge("20260101-BUF_9.buf", 9);
    EXPECT_THAT(drain(), ElementsAre("one", "two", "three", "four"));
    EXPECT_THAT(AgentHome::files(), IsEmpty());
}

// After its hundredth file of a day the library writes into the first one again.
TEST_F(AgentKeptFiles, FileThatWasContinuedLaterIsReadInTwoParts) {
    home.keep("20260101-BUF_1.buf", record(1, "one") + record(4, "four"));
    home.keep("20260101-BUF_2.buf", record(2, "two") + record(3, "three"));
    EXPECT_THAT(drain(), ElementsAre("one", "two", "three", "four"));
}

TEST_F(AgentKeptFiles, RecordsOfAnEarlierSeriesAreOlder) {
    home.keep("20260101-BUF_1.buf", record(1, "new"));
    home.keep("20260101-BUF_2.buf", AgentHome::record("past", 70, "old") + AgentHome::record("past", 71, "older"));
    EXPECT_THAT(drain(), ElementsAre("old", "older", "new"));
}

TEST_F(AgentKeptFiles, TextMayHoldEverySeparator) {
    const std::string text = "key" + M + "4.4.1.0" + F + "5" + F + M + "4.4.2.0" + F + "6" + F;
    home.keep("20260101-BUF_1.buf", record(1, text) + record(2, "") + record(3, std::string(200000, 'x')));
    EXPECT_THAT(drain(), ElementsAre(text, "", std::string(200000, 'x')));
}

TEST_F(AgentKeptFiles, TornEndIsSetAsideAndTheOtherFilesGoOn) {
    home.keep("20260101-BUF_1.buf", record(1, "one") + record(2, "a text that was cut").substr(0, 50));
    home.keep("20260102-BUF_1.buf", record(3, "three"));
    const StreamCapture streams;
    EXPECT_THAT(drain(), ElementsAre("one", "three"));
    EXPECT_THAT(streams.err(),
                HasSubstr("20260101-BUF_1.buf: not all of it was whole records; it is now ../buffer/damaged_1"));
    EXPECT_THAT(AgentHome::files(), ElementsAre("damaged_1"));
}

TEST_F(AgentKeptFiles, RecordBehindATornOneIsNotLost) {
    for (std::size_t length = 11; length < record(2, "two").size(); ++length) {
        home.keep("20260101-BUF_1.buf", record(1, "one") + record(2, "two").substr(0, length) + record(3, "three"));
        const StreamCapture streams;
        EXPECT_THAT(drain(), ElementsAre("one", "three")) << length;
        EXPECT_THAT(streams.err(), HasSubstr("damaged")) << length;
    }
}

TEST_F(AgentKeptFiles, JunkIsSetAside) {
    const std::vector<std::string> junk = {std::string(100000, '\0'),
                                           "garbage\n",
                                           F + F + F,
                                           "1" + F + "host now 1 cpu 5" + F + "x",
                                           "1" + F + "host now 1 cpu 5 99999999999999999999" + F + "x" + F + M + "\n",
                                           "1" + F + "host now 1 cpu 5 18446744073709551615" + F + "x" + F + M + "\n",
                                           std::string(400000, '\x03')};
    for (const std::string &content : junk) {
        home.keep("20260101-BUF_1.buf", content);
        home.keep("20260102-BUF_1.buf", record(3, "three"));
        const StreamCapture streams;
        EXPECT_THAT(drain(), ElementsAre("three"));
        EXPECT_EQ(AgentHome::files().front(), "damaged_1");
    }
    EXPECT_EQ(AgentHome::files().size(), 7U);
}

TEST_F(AgentKeptFiles, NoMoreThanNineDamagedFilesStay) {
    const StreamCapture streams;
    for (int i = 0; i < 12; ++i) {
        home.keep("20260101-BUF_1.buf", "junk " + std::to_string(i));
        drain();
    }
    EXPECT_EQ(AgentHome::files().size(), 9U);
    EXPECT_EQ(home.home.read("agent/buffer/damaged_9"), "junk 11");
}

TEST_F(AgentKeptFiles, WhatIsNoFileIsSetAside) {
    std::filesystem::create_directory("../buffer/20260101-BUF_1.buf");
    home.keep("20260102-BUF_1.buf", record(3, "three"));
    const StreamCapture streams;
    EXPECT_THAT(drain(), ElementsAre("three"));
    EXPECT_THAT(AgentHome::files(), ElementsAre("damaged_1"));
}

TEST_F(AgentKeptFiles, RecordsThatAreAddedAreFound) {
    KeptFiles files("now");
    ASSERT_EQ(fgBufFileWrite("", "host now 1 cpu 5 3", "one"), 1);
    files.look();
    ASSERT_NE(files.oldest(), nullptr);
    ASSERT_EQ(fgBufFileWrite("", "host now 2 cpu 5 3", "two"), 1);
    EXPECT_THAT(drain(files), ElementsAre("one", "two"));
    ASSERT_EQ(fgBufFileWrite("", "host now 3 cpu 5 5", "three"), 1);
    EXPECT_THAT(drain(files), ElementsAre("three"));
    EXPECT_THAT(AgentHome::files(), IsEmpty());
}

TEST_F(AgentKeptFiles, FileThatIsDeletedToKeepTheBudgetIsForgotten) {
    home.keep("20260101-BUF_1.buf", record(1, "one"));
    home.keep("20260102-BUF_1.buf", record(2, "two"));
    KeptFiles files("now");
    files.look();
    std::filesystem::remove("../buffer/20260101-BUF_1.buf");
    home.keep("20260101-BUF_1.buf", record(3, "three"));
    const StreamCapture streams;
    EXPECT_THAT(drain(files), ElementsAre("two", "three"));
    EXPECT_THAT(streams.err(), HasSubstr("its records from 1 on are lost"));
}

TEST_F(AgentKeptFiles, FilesOfTheOtherTagAreLeftAlone) {
    home.keep("20260101-BUNF_1.buf", "of somebody else");
    EXPECT_THAT(drain(), IsEmpty());
    EXPECT_THAT(AgentHome::files(), ElementsAre("20260101-BUNF_1.buf"));
}

} // namespace
