// Listings of directories: one limit, and what is listed until then counts.
#include "SampledHost.h"
#include "host/hardware/PartReader.h"
#include "host/source/Listing.h"
#include "host/source/NamedDirectory.h"
#include "host/source/NumberedDirectory.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>

namespace {

using zel::HostDirectory;

// One entry more than a listing takes: links to nowhere, after the first `real` ones, which are directories.
void fill(const std::string &directory, const std::string &prefix, std::size_t real = 0) {
    std::filesystem::create_directories(directory);
    for (std::size_t number = 0; number <= zel::LISTING_LIMIT; ++number) {
        const std::string entry = directory + '/' + prefix + std::to_string(number);
        if (number < real)
            std::filesystem::create_directory(entry);
        else
            std::filesystem::create_symlink("nowhere", entry);
    }
}

TEST(Listing, MoreThanTheLimitAreLeftOutAndThatIsSaid) {
    constexpr const char *directory = "sys/class/fc_host";
    const TempDirectory scratch;
    fill(scratch.path() / directory, "host", 20);
    const HostDirectory root(scratch.path());
    zel::NumberedDirectory numbers(directory, "host", 99999);
    EXPECT_EQ(numbers.read(root), E2BIG);
    EXPECT_EQ(numbers.numbers().size(), 16384U);
    zel::NamedDirectory names(directory, "host");
    EXPECT_EQ(names.read(root), E2BIG);
    EXPECT_EQ(names.names().size(), 16384U);
    zel::NamedDirectory few(directory, "host", "st1638");
    EXPECT_EQ(few.read(root), 0) << "what is not asked for does not count";
    EXPECT_EQ(few.names().size(), 6U) << "host1638 and host16380 to host16384";
    std::vector<std::string> devices;
    EXPECT_EQ(zel::listDevices(root, directory, devices), E2BIG);
    EXPECT_EQ(devices.size(), 16384U);

    zel::Sampler sampler(
        {.root = scratch.path(), .areas = {zel::Area::FibreChannel}, .deadline = std::chrono::minutes(1)});
    const zel::Sample sample = sampler.take();
    EXPECT_EQ(failureOf(sample, zel::Area::FibreChannel), std::pair(E2BIG, std::string(directory)));
    EXPECT_EQ(sample.area(zel::Area::FibreChannel).absence, zel::Absence::None) << "the area is not lost";
    EXPECT_GE(sample.fibreChannelPorts.size(), 19U) << "one entry at most was left out";
}

TEST(Listing, HiddenNamesAreLeftOutAndTypesAreTold) {
    const TempDirectory scratch;
    scratch.write("all/.hidden", "");
    scratch.write("all/file", "");
    scratch.write("all/directory/file", "");
    std::vector<std::string> entries;
    const auto take = [](const char *name, unsigned char type, std::string &entry) {
        entry = std::string(name) + (type == DT_DIR ? "/" : "");
        return true;
    };
    EXPECT_EQ(zel::listEntries(HostDirectory(scratch.path()), "all", entries, take), 0);
    std::sort(entries.begin(), entries.end());
    EXPECT_EQ(entries, (std::vector<std::string>{"directory/", "file"}));
    EXPECT_EQ(zel::listEntries(HostDirectory(scratch.path()), "none", entries, take), ENOENT);
    EXPECT_EQ(zel::listEntries(HostDirectory(scratch.path()), "all/file", entries, take), ENOTDIR);
}

} // namespace
