// A floor made of the system calls that a piece of work was seen to make: the same calls in the same order, with the
// same paths, sizes and offsets, and nothing done with what they give.
#pragma once

#include "SystemCalls.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace bench {

class Replay {
public:
    /// Runs `work` in a traced child and notes its calls. What stays open there between two runs is opened here too.
    explicit Replay(const std::function<void()> &work);
    ~Replay();
    Replay(const Replay &) = delete;
    Replay &operator=(const Replay &) = delete;

    /// Makes the calls.
    void operator()();
    bool empty() const { return m_steps.empty(); }
    /// Calls that cannot be made again, which the floor therefore lacks: "ioctl 2"; empty when there are none.
    std::string leftOut() const;

private:
    struct Step {
        TracedCall call{};
        std::string text; // what its argument `textAt` leads to
        int textAt = -1, resultAt = -1;
        int uses = -1, opens = -1; // slots of descriptors; the one that is used is the first argument
    };

    bool note(const TracedCall &call);
    int slotOf(const TracedCall &call, int descriptor);
    int lastingSlot(const TracedCall &call, int descriptor);

    std::vector<Step> m_steps;
    std::vector<int> m_slots;    // descriptors here
    std::vector<int> m_lasting;  // of these, what is open all the time
    std::map<int, int> m_slotOf; // by the number of the descriptor there
    int m_unused = -1;           // the slot that was opened last and not used yet
    std::map<long, long> m_leftOut;
    std::vector<char> m_room;
};

} // namespace bench
