// Where a file of a host is, and the descriptor that stays open on it. On the host itself a kernel file stays open
// between samples, which halves what reading it costs; below a directory it is opened anew each time, because a plain
// file can be replaced.
#pragma once

#include "host/source/Clocks.h"
#include "host/source/HostDirectory.h"
#include "host/source/KeptBudget.h"
#include "kernel/KeptFile.h"

#include <cerrno>
#include <cstdint>
#include <string>

namespace zel {

class KernelSource {
public:
    /// What is missing on the host itself is not looked for again before this time has gone by.
    static constexpr std::int64_t SECONDS_BEFORE_NEXT_TRY = 30;

    explicit KernelSource(std::string path, KeptScope scope = KeptScope::Machine)
        : m_path(std::move(path)), m_scope(scope) {}

    /// Calls readFrom(descriptor), which gives an errno, with the file: with the one that stayed open, and where that
    /// fails with a new one. Gives 0, or the errno that kept the file from being opened or read.
    template<class ReadFrom> int read(const HostDirectory &root, ReadFrom &&readFrom) {
        if (isResting(root))
            return ENOENT;
        if (const int kept = keptDescriptor(); kept >= 0 && readFrom(kept) == 0)
            return 0;
        ScopedDescriptor file(-1);
        if (const int error = open(root, file); error != 0)
            return error;
        const int error = readFrom(file.get());
        if (error == 0)
            keep(root, std::move(file));
        return error;
    }

    const std::string &path() const { return m_path; }
    /// Looks for a missing file in the next sample: its device has come back.
    void forgetMissing() { m_missingSince = LONG_AGO; }

private:
    bool isResting(const HostDirectory &root);
    int keptDescriptor() const;
    int open(const HostDirectory &root, ScopedDescriptor &file);
    void keep(const HostDirectory &root, ScopedDescriptor file);

    std::string m_path;
    KeptScope m_scope;
    KeptDescriptor m_kept;
    std::int64_t m_missingSince = LONG_AGO; // of a coarse monotonic clock
};

} // namespace zel
