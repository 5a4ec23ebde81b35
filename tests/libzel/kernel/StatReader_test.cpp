#include "kernel/StatReader.h"

#include "HostFixture.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using zel::StatReader;

// What a reader gives for a file of so many bytes.
std::string readText(const HostFixture &host, StatReader &reader, std::size_t bytes) {
    host.write("proc/stat", std::string(bytes, 's'));
    std::vector<char> text(StatReader::BUFFER_SIZE, 'x');
    const int length = reader.read(text.data());
    EXPECT_EQ(static_cast<std::size_t>(length), std::strlen(text.data()));
    return text.data();
}

TEST(StatReader, ReadsFilesOfEverySizeWhole) {
    HostFixture host;
    for (const std::size_t bytes : {1, 1200, 4094, 4095, 4096, 8190, 8191, 8192, 30000, 65534, 65535}) {
        StatReader reader;
        EXPECT_EQ(readText(host, reader, bytes).size(), bytes) << "first";
        EXPECT_EQ(readText(host, reader, bytes).size(), bytes) << "again";
    }
}

TEST(StatReader, FollowsAFileThatGrowsAndShrinks) {
    HostFixture host;
    StatReader reader;
    for (const std::size_t bytes : {100, 5000, 100, 12000, 60000, 40, 65535, 3})
        EXPECT_EQ(readText(host, reader, bytes).size(), bytes);
}

TEST(StatReader, LongerFileIsCut) {
    HostFixture host;
    StatReader reader;
    for (const std::size_t bytes : {65536, 70000, 300000})
        EXPECT_EQ(readText(host, reader, bytes).size(), 65535U) << bytes;
}

TEST(StatReader, MissingAndEmptyFilesGiveNothing) {
    HostFixture host;
    StatReader reader;
    std::vector<char> text(StatReader::BUFFER_SIZE);

    EXPECT_EQ(reader.read(text.data()), 0);
    host.write("proc/stat", "");
    EXPECT_EQ(reader.read(text.data()), 0);
    EXPECT_EQ(readText(host, reader, 10).size(), 10U);
}

} // namespace
