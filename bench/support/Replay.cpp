// Notes the system calls of a piece of work, and makes them again.
#include "Replay.h"

#include <climits>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::size_t roomForResults = std::size_t{4} << 20;

// The arguments of a call: which is a descriptor, a text and the place of a result; -1 for none.
struct Shape {
    long number;
    bool usesDescriptor;
    int textAt, resultAt;
};

constexpr Shape shapes[] = {
    {SYS_openat, true, 1, -1},         {SYS_close, true, -1, -1},    {SYS_read, true, -1, 1},
    {SYS_pread64, true, -1, 1},        {SYS_lseek, true, -1, -1},    {SYS_getdents64, true, -1, 1},
    {SYS_newfstatat, true, 1, 2},      {SYS_fstat, true, -1, 1},     {SYS_statx, true, 1, 4},
    {SYS_statfs, false, 0, 1},         {SYS_fstatfs, true, -1, 1},   {SYS_ioctl, true, -1, 2},
    {SYS_clock_gettime, false, -1, 1}, {SYS_readlinkat, true, 1, 2},
};

const Shape *shapeOf(long number) {
    for (const Shape &shape : shapes) {
        if (shape.number == number)
            return &shape;
    }
    return nullptr;
}

std::string textAt(pid_t child, unsigned long long address) {
    std::string text;
    for (char character = 1; text.size() < PATH_MAX; text += character) {
        const iovec here{&character, 1};
        const iovec there{reinterpret_cast<void *>(address + text.size()), 1};
        if (process_vm_readv(child, &here, 1, &there, 1, 0) != 1 || character == '\0')
            break;
    }
    return text;
}

} // namespace

namespace bench {

Replay::Replay(const std::function<void()> &work) : m_room(roomForResults) {
    traceSystemCalls(work, [this](const TracedCall &call) {
        if (!note(call))
            ++m_leftOut[call.number];
    });
}

Replay::~Replay() {
    for (const int descriptor : m_lasting)
        close(descriptor);
}

// The same file once more, by the link that the kernel has for it; of a socket one of the same kind.
int Replay::lastingSlot(const TracedCall &call, int descriptor) {
    const std::string link = "/proc/" + std::to_string(call.child) + "/fd/" + std::to_string(descriptor);
    int opened = open(link.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (opened < 0)
        opened = open(link.c_str(), O_PATH | O_CLOEXEC);
    if (opened < 0)
        opened = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    m_lasting.push_back(opened);
    m_slots.push_back(opened);
    return static_cast<int>(m_slots.size()) - 1;
}

// A descriptor that the run has opened itself is used before it opens the next.
int Replay::slotOf(const TracedCall &call, int descriptor) {
    const auto known = m_slotOf.find(descriptor);
    if (known != m_slotOf.end())
        return known->second;
    const int slot = m_unused >= 0 ? std::exchange(m_unused, -1) : lastingSlot(call, descriptor);
    m_slotOf[descriptor] = slot;
    return slot;
}

bool Replay::note(const TracedCall &call) {
    const Shape *shape = shapeOf(call.number);
    if (shape == nullptr)
        return false;
    Step step{call, {}, shape->textAt, shape->resultAt, -1, -1};
    const int descriptor = static_cast<int>(call.arguments[0]);
    if (shape->usesDescriptor && descriptor != AT_FDCWD)
        step.uses = slotOf(call, descriptor);
    if (step.textAt >= 0)
        step.text = textAt(call.child, call.arguments[static_cast<std::size_t>(step.textAt)]);
    if (call.number == SYS_close)
        m_slotOf.erase(descriptor);
    if (call.number == SYS_openat) {
        m_slots.push_back(-1);
        step.opens = m_unused = static_cast<int>(m_slots.size()) - 1;
    }
    m_steps.push_back(std::move(step));
    return true;
}

void Replay::operator()() {
    for (Step &step : m_steps) {
        auto &arguments = step.call.arguments;
        if (step.uses >= 0)
            arguments[0] = static_cast<unsigned long long>(m_slots[static_cast<std::size_t>(step.uses)]);
        if (step.textAt >= 0)
            arguments[static_cast<std::size_t>(step.textAt)] = reinterpret_cast<std::uintptr_t>(step.text.c_str());
        if (step.resultAt >= 0)
            arguments[static_cast<std::size_t>(step.resultAt)] = reinterpret_cast<std::uintptr_t>(m_room.data());
        const long result = syscall(step.call.number, arguments[0], arguments[1], arguments[2], arguments[3],
                                    arguments[4], arguments[5]);
        if (step.opens >= 0)
            m_slots[static_cast<std::size_t>(step.opens)] = static_cast<int>(result);
    }
}

std::string Replay::leftOut() const {
    return differenceOf(m_leftOut, {});
}

} // namespace bench
