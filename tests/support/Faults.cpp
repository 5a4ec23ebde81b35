// Counts the calls of each kind and fails the chosen one.
#include "Faults.h"

#include <atomic>
#include <cerrno>
#include <iterator>

namespace {

struct Kind {
    const char *name;
    int error;
};

// In the order of Call.
constexpr Kind kinds[] = {{"allocation", ENOMEM},
                          {"open", EMFILE},
                          {"read", EIO},
                          {"pread", EIO},
                          {"fopen", EMFILE},
                          {"fgets", EIO},
                          {"getdents64", EIO},
                          {"socket", EMFILE},
                          {"ioctl", EIO},
                          {"statfs64", EIO},
                          {"system", EAGAIN},
                          {"popen", EAGAIN},
                          {"pthread_create", EAGAIN},
                          {"getpwuid", EIO}};
static_assert(std::size(kinds) == static_cast<std::size_t>(Call::Count));

constexpr Call noCall = Call::Count;

std::atomic<Call> armed{noCall};
std::atomic<long> wanted{0};
std::atomic<long> met{0};
std::atomic<int> chosenError{0};
std::atomic<int> suspensions{0};

} // namespace

const char *callName(Call call) {
    return kinds[static_cast<std::size_t>(call)].name;
}

Fault::Fault(Call call, long number, int error) {
    wanted = number;
    chosenError = error != 0 ? error : kinds[static_cast<std::size_t>(call)].error;
    met = 0;
    armed = call;
}

Fault::~Fault() {
    armed = noCall;
}

long Fault::calls() {
    return met;
}

bool Fault::happened() {
    return wanted > 0 && met >= wanted;
}

FaultsSuspended::FaultsSuspended() {
    ++suspensions;
}

FaultsSuspended::~FaultsSuspended() {
    --suspensions;
}

bool faultIsDue(Call call) {
    if (armed.load(std::memory_order_relaxed) != call || suspensions.load(std::memory_order_relaxed) > 0)
        return false;
    if (++met != wanted)
        return false;
    errno = chosenError;
    return true;
}
