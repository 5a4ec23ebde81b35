// Line protocol of a sample, read back by a reader of its rules of the test's own.
#include "export/LineProtocol.h"

#include "FullSample.h"
#include "SystemHooks.h"

#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>
#include <vector>

namespace {

using zel::Absence;
using zel::Area;

struct Point {
    std::string measurement, time;
    std::map<std::string, std::string> tags, fields; // texts of fields with their quotes
};

// Up to one of the ends that no backslash escapes; the backslashes of escapes are left out.
std::string readToken(const std::string &line, std::size_t &at, const std::string &ends) {
    std::string token;
    for (; at < line.size() && ends.find(line[at]) == ends.npos; ++at) {
        if (line[at] == '\\' && at + 1 < line.size())
            ++at;
        token += line[at];
    }
    return token;
}

std::string readValue(const std::string &line, std::size_t &at) {
    if (line.at(at) != '"')
        return readToken(line, at, ", ");
    std::string value = "\"";
    for (++at; line.at(at) != '"'; ++at) {
        if (line[at] == '\\')
            ++at;
        value += line.at(at);
    }
    ++at;
    return value + '"';
}

Point readPoint(const std::string &line) {
    Point point;
    std::size_t at = 0;
    point.measurement = readToken(line, at, ", ");
    while (line.at(at) == ',') {
        const std::string name = readToken(line, ++at, "=, ");
        EXPECT_EQ(line.at(at), '=') << line;
        const std::string value = readToken(line, ++at, ", ");
        EXPECT_NE(value, "") << "a tag without a value: " << line;
        EXPECT_TRUE(point.tags.emplace(name, value).second) << line;
    }
    do {
        const std::string name = readToken(line, ++at, "=, ");
        EXPECT_EQ(line.at(at), '=') << line;
        EXPECT_TRUE(point.fields.emplace(name, readValue(line, ++at)).second) << line;
    } while (line.at(at) == ',');
    EXPECT_EQ(line.at(at), ' ') << line;
    point.time = line.substr(at + 1);
    return point;
}

std::vector<Point> readPoints(const std::string &text) {
    std::vector<Point> points;
    EXPECT_TRUE(text.empty() || text.back() == '\n');
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = text.find('\n', at);
        points.push_back(readPoint(text.substr(at, end - at)));
        at = end + 1;
    }
    return points;
}

std::vector<Point> pointsOf(const zel::Sample &sample, const zel::Rates *rates = nullptr, const char *host = "") {
    std::string out;
    zel::LineWriter().write(sample, rates, {}, host, out);
    return readPoints(out);
}

zel::Sample sampleOf(Area area) {
    zel::Sample sample;
    sample.area(area).asked = true;
    sample.realtimeNanoseconds = 1795238415260000001;
    return sample;
}

TEST(LineProtocol, ARowIsALine) {
    zel::Sample sample = sampleOf(Area::Disks);
    zel::Disk &disk = sample.disks.append();
    disk.name = "vda";
    disk.major = 254;
    disk.reads = std::uint64_t{812};
    disk.readSeconds = 0.5;
    disk.scheduler = std::string("none");
    std::string out;
    zel::LineWriter().write(sample, nullptr, {}, "db1", out);
    EXPECT_EQ(out, "disks,host=db1,name=vda major=254i,minor=0i,reads_total=812i,read_seconds_total=0.5,scheduler="
                   "\"none\" 1795238415260000001\n"
                   "areas,host=db1,area=disks cost_seconds=0,silent_seconds=0 1795238415260000001\n");
}

TEST(LineProtocol, AbsentValuesAndRowsWithoutAnyAreLeftOut) {
    zel::Sample sample = sampleOf(Area::Load);
    sample.area(Area::Load).absence = Absence::Denied;
    const std::vector<Point> points = pointsOf(sample);
    ASSERT_EQ(points.size(), 1U);
    EXPECT_EQ(points[0].measurement, "areas");
    EXPECT_EQ(points[0].fields.at("absent"), "\"denied\"");
}

TEST(LineProtocol, TagsAreEscapedAndReadBack) {
    const std::string sign = "\xef\xbf\xbd";
    for (unsigned byte = 1; byte < 0x80; ++byte) {
        zel::Sample sample = sampleOf(Area::Interrupts);
        sample.interrupts.append().interrupt = {'a', static_cast<char>(byte), '\\'};
        sample.interrupts[0].count = std::uint64_t{1};
        sample.interrupts[0].description = std::string("d") + static_cast<char>(byte) + '\\';
        const std::string shown = byte < 0x20 || byte == 0x7f ? sign : std::string(1, static_cast<char>(byte));
        std::string out;
        zel::LineWriter().write(sample, nullptr, {}, "", out);
        const Point point = readPoints(out.substr(out.find("interrupts,"))).at(0);
        EXPECT_EQ(point.tags.at("interrupt"), "a" + shown + "\\") << byte;
        EXPECT_EQ(point.fields.at("description"), "\"d" + shown + "\\\"") << byte;
    }
}

TEST(LineProtocol, AnEmptyTagIsLeftOut) {
    zel::Sample sample = sampleOf(Area::Gpus);
    zel::Gpu &gpu = sample.gpus.append();
    gpu.gpu = "card0";
    gpu.fanRatio = 0.25;
    const Point point = pointsOf(sample).at(0);
    EXPECT_EQ(point.tags, (std::map<std::string, std::string>{{"gpu", "card0"}}));
}

TEST(LineProtocol, WholeNumbersBeyond63BitsAreLeftOut) {
    zel::Sample sample = sampleOf(Area::Interrupts);
    sample.activity.interrupts = std::uint64_t{9223372036854775807U};
    sample.activity.contextSwitches = std::uint64_t{9223372036854775808U};
    const Point point = pointsOf(sample).at(0);
    EXPECT_EQ(point.fields.at("interrupts_total"), "9223372036854775807i");
    EXPECT_FALSE(point.fields.contains("context_switches_total"));
}

TEST(LineProtocol, NumbersThatAreNoneAreLeftOut) {
    zel::Sample sample = sampleOf(Area::Load);
    sample.load.load1 = std::numeric_limits<double>::quiet_NaN();
    sample.load.load5 = 1e300;
    const Point point = pointsOf(sample).at(0);
    EXPECT_EQ(point.fields, (std::map<std::string, std::string>{{"load5", "1e+300"}}));
}

TEST(LineProtocol, RatesStandInPlaceOfCounters) {
    zel::Sample before = sampleOf(Area::Interrupts), now = before;
    before.area(Area::Interrupts).monotonicNanoseconds = 1000000000;
    now.area(Area::Interrupts).monotonicNanoseconds = 3000000000;
    before.activity.forks = std::uint64_t{10};
    now.activity.forks = std::uint64_t{20};
    now.activity.running = std::uint64_t{3};
    const zel::Rates rates = zel::between(before, now);
    const Point point = pointsOf(now, &rates).at(0);
    EXPECT_EQ(point.fields.at("forks_per_second"), "5");
    EXPECT_EQ(point.fields.at("running"), "3i");
    EXPECT_FALSE(point.fields.contains("forks_total"));
}

TEST(LineProtocol, AMountThatIsHiddenHasNoLine) {
    zel::Sample sample = sampleOf(Area::Filesystems);
    for (const std::uint64_t hidden : {1U, 0U}) {
        zel::Filesystem &filesystem = sample.filesystems.append();
        filesystem.mountPoint = "/mnt";
        filesystem.hidden = hidden;
        filesystem.mountId = 7 + hidden;
    }
    const std::vector<Point> points = pointsOf(sample);
    ASSERT_EQ(points.size(), 2U);
    EXPECT_EQ(points[0].fields.at("mount_id"), "7i");
}

// Readers keep one type for a field, and one point for a time and a set of tags.
TEST(LineProtocol, AFullSampleHasNoPointTwiceAndEveryValueHasItsType) {
    const zel::Sample sample = FullSample::make();
    const std::regex number("-?[0-9]+i|-?[0-9]+(\\.[0-9]+)?(e[-+][0-9]+)?|\"[^\"]*\"");
    std::set<std::pair<std::string, std::map<std::string, std::string>>> seen;
    std::set<std::string> measurements;
    for (const Point &point : pointsOf(sample, nullptr, "db1")) {
        EXPECT_TRUE(seen.emplace(point.measurement, point.tags).second) << point.measurement;
        EXPECT_EQ(point.time, "1795238415260000001");
        measurements.insert(point.measurement);
        for (const auto &[name, value] : point.fields) {
            EXPECT_TRUE(std::regex_match(value, number)) << name << " " << value;
            EXPECT_FALSE(point.tags.contains(name)) << point.measurement << " " << name;
        }
    }
    EXPECT_EQ(measurements.size(), std::tuple_size_v<decltype(zel::SECTIONS)> + 1);
}

TEST(LineProtocol, InSteadyStateNothingIsAllocated) {
    const zel::Sample earlier = FullSample::make();
    zel::Sample sample = earlier;
    sample.monotonicNanoseconds += 1000000000;
    const zel::Rates rates = zel::between(earlier, sample);
    zel::LineWriter writer;
    for (const zel::Rates *const given : {static_cast<const zel::Rates *>(nullptr), &rates}) {
        std::string out;
        writer.write(sample, given, {}, "db1", out);
        out.clear();
        const long before = allocationsSoFar();
        writer.write(sample, given, {}, "db1", out);
        EXPECT_EQ(allocationsSoFar(), before) << (given == nullptr ? "without rates" : "with rates");
    }
}

} // namespace
