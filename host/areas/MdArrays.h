// The md arrays of a sample: /proc/mdstat, read by a bounded call where the host has it.
#pragma once

#include "host/areas/AreaReader.h"
#include "host/source/BoundedReads.h"

#include <string>
#include <vector>

namespace zel {

class MdArrays {
public:
    /// Below a root directory this is all.
    void read(Take &take);
    void ask(Take &take);
    void finish(Take &take);

private:
    struct Answer {
        std::vector<MdArray> arrays;
        bool whole = true;
    };

    static int readInto(const HostDirectory &root, Answer &answer);
    void takeAnswer(Take &take, const Answer &answer) const;
    bool isThere(const HostDirectory &root);

    BoundedReads<Answer> m_reads{"mdstat"};
    bool m_isThere = false;
    std::int64_t m_lookedAt = LONG_AGO;
};

} // namespace zel
