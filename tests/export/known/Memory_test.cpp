// The known names of memory.
#include "tests/support/KnownText.h"

#include <gtest/gtest.h>

namespace {

constexpr std::uint64_t kibibyte = 1024;

TEST(KnownMemory, KeysOfMeminfoAreBytes) {
    zel::Sample sample;
    sample.memory.totalBytes = 2403532 * kibibyte;
    sample.memory.activeAnonymousBytes = 3479813 * kibibyte;
    sample.memory.directMap4kBytes = 448291 * kibibyte;
    const KnownText text(zel::knownMemory, sample);
    EXPECT_EQ(text.series(), (Lines{"node_memory_MemTotal_bytes 2461216768", "node_memory_Active_anon_bytes 3563328512",
                                    "node_memory_DirectMap4k_bytes 459049984"}));
    EXPECT_EQ(text.type("node_memory_MemTotal_bytes"), "gauge");
}

TEST(KnownMemory, HugePagesAreANumberAndTheirSizeIsBytes) {
    zel::Sample sample;
    sample.memory.hugePages = std::uint64_t{9};
    sample.memory.hugePageBytes = 2048 * kibibyte;
    const KnownText text(zel::knownMemory, sample);
    EXPECT_EQ(text.series(), (Lines{"node_memory_HugePages_Total 9", "node_memory_Hugepagesize_bytes 2097152"}));
}

TEST(KnownMemory, LinesThatAreNotKnownAreNoFamily) {
    zel::Sample sample;
    sample.memory.unknownLines = std::uint64_t{2};
    EXPECT_EQ(KnownText(zel::knownMemory, sample).series(), Lines{});
}

TEST(KnownMemory, NewKeysHaveNamesOfTheirOwn) {
    zel::Sample sample;
    for (const char *key : {"FooBar", "Foo(bar)"}) {
        sample.memoryOthers.append().key = key;
        sample.memoryOthers[sample.memoryOthers.size() - 1].bytes = kibibyte;
    }
    sample.memoryOthers.append().key = "Foo_Pages";
    sample.memoryOthers[2].value = std::uint64_t{29};
    EXPECT_EQ(KnownText(zel::knownMemory, sample).series(),
              (Lines{"node_memory_FooBar_bytes 1024", "node_memory_Foo_bar_bytes 1024", "node_memory_Foo_Pages 29"}));
}

} // namespace
