// A record is one text of one task, with a line before it that names it:
//
//   HOST SERIES NUMBER NAME SECONDS BYTES \n TEXT        web1 5f0c9a417be2d386 17 cpu 1700000004 812
//
// HOST is the sampled host. SERIES names a numbering, which lasts as long as the agent's home (Numbering.h); NUMBER
// rises by one from record to record, across restarts too, and skips numbers only after an agent that was killed. NAME
// is the task, SECONDS the time of its sample, BYTES the length of the text.
//
// A receiver answers "SERIES NUMBER\n" once it has stored the record; only then the next one follows. When the answer
// is lost, the record comes again: a receiver that drops numbers which are not above the last one of their host and
// series has each record exactly once. Standard output takes the same records and gives no answers.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace agent {

struct RecordHead {
    std::string host;
    std::string series;
    unsigned long long number = 0;
    std::string name;
    long long seconds = 0;
    std::size_t bytes = 0;

    /// The line, without its line feed.
    std::string line() const;
    /// What a receiver answers, with its line feed.
    std::string answer() const;
    bool isSameRecordAs(const RecordHead &other) const;
};

struct Record {
    RecordHead head;
    std::string text;
};

inline constexpr std::size_t longestHead = 512;
inline constexpr std::size_t longestWord = 64;
inline constexpr std::size_t longestText = std::size_t{64} << 20; // receivers take no longer ones

/// Whether `word` may be a host, a series or a name: 1 to 64 letters, digits and "._-:@".
bool isWord(std::string_view word);

/// Reads a line of six words with one blank between them. None when it is anything else.
std::optional<RecordHead> readHead(std::string_view line);

} // namespace agent
