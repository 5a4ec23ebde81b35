// Disks and interfaces of hosts of several kernels, beside an independent reading of their files, and mutations of
// them.
#include "Mutation.h"
#include "Paths.h"
#include "SampledHost.h"
#include "host/areas/DiskLines.h"
#include "host/areas/InterfaceLines.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

using zel::Absence;
using zel::Area;
using zel::Disk;
using zel::Interface;
using zel::Sample;

std::string contents(const std::filesystem::path &path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Every fixture with a file of this name, as a root.
std::vector<std::filesystem::path> rootsWith(const char *file) {
    std::vector<std::filesystem::path> roots;
    for (const auto &kernel : std::filesystem::directory_iterator(paths::fixtures)) {
        for (const char *time : {"t0", "t1"}) {
            if (std::filesystem::exists(kernel.path() / time / file))
                roots.push_back(kernel.path() / time);
        }
    }
    return roots;
}

TEST(DeviceFixtures, DisksAreThoseOfTheFileReadInAnotherWay) {
    const auto roots = rootsWith("proc/diskstats");
    ASSERT_GE(roots.size(), 6U);
    for (const std::filesystem::path &root : roots) {
        zel::Sampler sampler({.root = root, .areas = {Area::Disks}});
        const Sample sample = sampler.take();
        EXPECT_EQ(failureOf(sample, Area::Disks), NO_FAILURE) << root;
        std::ifstream lines(root / "proc/diskstats");
        std::size_t row = 0;
        for (std::string line; std::getline(lines, line); ++row) {
            std::istringstream fields(line);
            std::string name;
            std::uint64_t major = 0, minor = 0, number = 0;
            fields >> major >> minor >> name;
            std::vector<std::uint64_t> numbers;
            while (fields >> number)
                numbers.push_back(number);
            ASSERT_LT(row, sample.disks.size()) << root;
            const Disk &disk = sample.disks[row];
            EXPECT_EQ(disk.name, name) << root;
            EXPECT_EQ(disk.minor, minor) << root;
            ASSERT_GE(numbers.size(), 11U) << root << name;
            EXPECT_TRUE(holds(disk.reads, numbers[0])) << root << name;
            EXPECT_TRUE(holds(disk.readBytes, numbers[2] * 512)) << root << name;
            EXPECT_TRUE(holds(disk.writtenBytes, numbers[6] * 512)) << root << name;
            EXPECT_NEAR(disk.weightedSeconds.valueOr(-1), static_cast<double>(numbers[10]) / 1000, 1e-6) << name;
            EXPECT_EQ(disk.discards.has(), numbers.size() >= 15) << root << name;
            EXPECT_EQ(disk.flushes.has(), numbers.size() >= 17) << root << name;
        }
        EXPECT_EQ(sample.disks.size(), row) << root;
    }
}

TEST(DeviceFixtures, InterfacesAreThoseOfTheFileReadInAnotherWay) {
    const auto roots = rootsWith("proc/net/dev");
    ASSERT_GE(roots.size(), 4U);
    for (const std::filesystem::path &root : roots) {
        zel::Sampler sampler({.root = root, .areas = {Area::Interfaces}});
        const Sample sample = sampler.take();
        EXPECT_EQ(failureOf(sample, Area::Interfaces), NO_FAILURE) << root;
        std::ifstream lines(root / "proc/net/dev");
        std::size_t row = 0;
        for (std::string line; std::getline(lines, line);) {
            const std::size_t colon = line.find(':');
            if (colon == std::string::npos)
                continue;
            std::istringstream columns(line.substr(colon + 1));
            std::uint64_t numbers[16] = {};
            for (std::uint64_t &number : numbers)
                columns >> number;
            ASSERT_LT(row, sample.interfaces.size()) << root;
            const Interface &interface = sample.interfaces[row++];
            EXPECT_EQ(interface.name, line.substr(line.find_first_not_of(' '), colon - line.find_first_not_of(' ')));
            EXPECT_TRUE(holds(interface.receiveBytes, numbers[0])) << line;
            EXPECT_TRUE(holds(interface.receiveMulticast, numbers[7])) << line;
            EXPECT_TRUE(holds(interface.transmitBytes, numbers[8])) << line;
            EXPECT_TRUE(holds(interface.transmitCompressed, numbers[15])) << line;
        }
        EXPECT_EQ(sample.interfaces.size(), row) << root;
    }
}

template<class Row> std::string dump(const Row &row) {
    std::ostringstream out;
    for (const auto &field : zel::fieldsOf<Row>()) {
        const zel::Value value = field.of(row);
        out << field.family.name << '=' << value.asText() << ' ' << value.asReal() << ' '
            << zel::absenceName(value.absence()) << '\n';
    }
    return out.str();
}

// What is in a line says nothing of the lines after it, whatever is in it.
TEST(DeviceFixtures, ABrokenLineNeverReadsTheNextOne) {
    Mutation mutation(20);
    const std::string line = "   8       0 sda 14736022 29050850 9498447189 92336954 52212730 50576474 758268592 "
                             "47649451 0 9132569 93241454 1 2 3 4 5 6";
    const std::string interface = "  eth0: 1731610    7145    0    0    0     0          0         0   566394    7143 "
                                  "   0    0    0     0       0          0";
    for (int round = 0; round < 4000; ++round) {
        const std::string broken = mutation.of(round % 2 == 0 ? line : interface);
        const std::string alone = broken.substr(0, broken.find_first_of(std::string("\n\0", 2)));
        const std::string followed = alone + "\n9 9 name: 9 9 9 9 9 9 9 9 9 9 9 9 9 9 9 9 9\n";
        Disk disks[2];
        std::uint64_t sums[2] = {};
        const bool isDisk = zel::parseDiskLine(alone.c_str(), disks[0], sums[0]);
        ASSERT_EQ(zel::parseDiskLine(followed.c_str(), disks[1], sums[1]), isDisk) << alone;
        Interface interfaces[2];
        const bool isInterface = zel::parseInterfaceLine(alone.c_str(), interfaces[0]);
        ASSERT_EQ(zel::parseInterfaceLine(followed.c_str(), interfaces[1]), isInterface) << alone;
        ASSERT_EQ(isDisk ? dump(disks[0]) : "", isDisk ? dump(disks[1]) : "") << alone;
        ASSERT_EQ(isInterface ? dump(interfaces[0]) : "", isInterface ? dump(interfaces[1]) : "") << alone;
    }
}

TEST(DeviceFixtures, MutatedHostsEndInValuesAndReasons) {
    Mutation mutation(21);
    const std::filesystem::path root = std::filesystem::path(paths::fixtures) / "linux-6.18/t0";
    const std::string disks = contents(root / "proc/diskstats"), net = contents(root / "proc/net/dev");
    SampledHost host({Area::Disks, Area::Interfaces});
    for (int round = 0; round < 200; ++round) {
        host.write("proc/diskstats", mutation.of(disks));
        host.write("proc/net/dev", mutation.of(net));
        const Sample &sample = host.take();
        sample.visit([](const zel::Family &family, const zel::Labels &, const zel::Value &value) {
            EXPECT_NE(value.has(), value.absence() != Absence::None) << family.name;
        });
    }
}

} // namespace
