// The frame of every benchmark here: a sample of a collector interleaved with its floor, in one process and one run.
//
// The floor makes the system calls that the sample has to make, with the same sizes and on the same files, and parses
// nothing. Rounds take turns, floors first, then sample; a round is a batch that takes a millisecond or more. Times are
// CPU times of the process. What is printed for each case:
//
//   sample us, floor us    medians of the rounds
//   ratio                  of the two medians
//   paired                 median of the ratios of each round, which a busy neighbour disturbs less
//   kept us, to it         the floor from files that stay open, and the paired ratio to it; "-" where nothing can stay
//                          open
//   calls                  system calls of one sample and of one floor (counted, in a traced child)
//   allocs                 heap allocations of one sample in steady state
//   rss MiB                resident memory of the program after the rounds
//
// and for each family of cases the slope: what one more unit costs between the smallest and the largest case, beside
// the same of the floor, both from the fastest round of each case. A floor that is a copy out of the page cache is
// marked "copy": see README.md.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace bench {

inline constexpr int ROUNDS = 21;

/// What the floor reads.
enum class Source {
    Kernel,   // files that the kernel writes while they are read
    PageCache // files of a generated tree: reading them copies memory
};

/// A sample and its floor at one size.
struct Work {
    std::function<void()> sample;
    std::function<void()> floor;
    std::function<void()> keptFloor; // the same from files that stay open; optional
    std::function<void()> prepare;   // before each sample and each floor, not timed; batches are then of one
    std::function<long()> measured;  // units that the last sample reported, printed when it is not the size; optional
    double kernelSurplus = 0; // microseconds that a kernel would need beyond a page-cache floor, by estimate; or 0
};

/// A family of cases, "cpu/text", over growing sizes. `make` is called when the case runs, in the order of adding;
/// an empty `sample` in what it gives skips the case, with `whyNot` printed.
struct Family {
    std::string name;
    Source source = Source::Kernel;
    std::vector<long> sizes;
    std::function<Work(long size, std::string &whyNot)> make;
};

/// Registers the cases of all families, size by size: those that share a size share what was built for it.
void add(const std::vector<Family> &families);

/// The main program: machine, cases, slopes. Takes the options of Google Benchmark (--benchmark_filter=...).
int run(int argc, char **argv);

/// Keeps the compiler from leaving out a result.
void keep(const void *result);

} // namespace bench
