// The files of a kernel directory that hold a number each, and the counts of a row that they fill.
#pragma once

#include "host/areas/AreaReader.h"
#include "host/source/Attribute.h"
#include "host/source/LineScan.h"

#include <cerrno>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

template<class Row> struct CountFile {
    std::string_view name;
    Count Row::*member;
    std::uint64_t factor = 1; // of the kernel's unit
};

template<class Row> class CountFiles {
public:
    /// The first of the files is one that every such directory has.
    CountFiles(const std::string &directory, std::span<const CountFile<Row>> files) : m_files(files) {
        m_attributes.reserve(files.size());
        for (const CountFile<Row> &file : files)
            m_attributes.emplace_back(directory + '/' + std::string(file.name));
    }

    /// Fills the counts, and notes what failed; a file that a kernel lacks is no failure. False, and nothing is
    /// filled, when the directory is not there.
    bool read(const HostDirectory &root, AreaState &state, Row &row) {
        for (std::size_t index = 0; index < m_files.size(); ++index) {
            Attribute &attribute = m_attributes[index];
            const Count count = attribute.number(root);
            if (index == 0 && attribute.error() == ENOENT)
                return false;
            row.*m_files[index].member = scaledCount(count, m_files[index].factor);
            noteUnlessMissing(state, attribute.error(), attribute.path());
        }
        return true;
    }

private:
    std::span<const CountFile<Row>> m_files;
    std::vector<Attribute> m_attributes;
};

} // namespace zel
