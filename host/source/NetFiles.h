// The files below /proc/net. On this host those of the network namespace of the thread that takes the sample, opened in
// each sample: one that stays open would keep the namespace that it was opened in, which the thread may have left.
// Below a root directory those of its first process, where its proc is a live one.
#pragma once

#include "host/source/HostDirectory.h"
#include "host/source/SourceFile.h"

#include <string>

namespace zel {

class NetFiles {
public:
    /// The first file of a sample that there is decides which directory the others are of.
    void startSample() { m_directory = nullptr; }
    /// Reads a file whose path begins with "proc/net/". Gives 0 or an errno.
    int read(const HostDirectory &root, SourceFile &file);

private:
    ScopedDescriptor open(const HostDirectory &root, const char *directory, const SourceFile &file);

    const char *m_directory = nullptr; // null until one is found
    std::string m_path;
};

} // namespace zel
