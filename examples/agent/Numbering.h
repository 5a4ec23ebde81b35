// The numbers of the records: they rise for as long as the home lasts, whatever the clock does and however often the
// agent starts.
//
// The file ../buffer/numbering holds one line, "HOST SERIES NUMBER": no number above NUMBER was ever given. While the
// agent runs, NUMBER is ahead of what is given, so that it need not be written for every record; a clean end writes the
// last number that was given. After a kill or a power failure the numbers go on above it: they skip, they never repeat.
//
// A home without the file, or with one of another host (a copied home), begins a new series with a random name.
#pragma once

#include "Descriptor.h"

#include <string>

namespace agent {

class Numbering {
public:
    /// Opens and locks the file. When it cannot be used the numbers hold for this run alone, in a series of its own.
    explicit Numbering(const std::string &host);
    /// Writes the last number that was given.
    ~Numbering();

    Numbering(const Numbering &) = delete;
    Numbering &operator=(const Numbering &) = delete;

    /// Whether another agent has the file: two in one home would give the same numbers.
    bool isTaken() const { return m_taken; }

    const std::string &host() const { return m_host; }
    const std::string &series() const { return m_series; }
    unsigned long long last() const { return m_last; }

    /// The number of the next record. One thread at a time.
    unsigned long long next();

private:
    void openFile();
    bool readFile();
    void writeFile(unsigned long long number);
    void reserve();

    std::string m_host;
    std::string m_series;
    unsigned long long m_last = 0;
    unsigned long long m_reserved = 0; // what the file says
    Descriptor m_file;
    bool m_taken = false;
};

} // namespace agent
