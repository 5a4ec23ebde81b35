// What the child of a fork() has to set right. The child has the forking thread alone: a lock that another thread held
// stays locked for ever, and work that another thread was to do is not done.
#pragma once

#include <new>

namespace zel {

/// While it lives, `repair` is called with `object` in every child that the process forks, before fork() returns there;
/// what was made first is repaired first.
/// What other threads were changing at that moment may be half changed: a repair makes locks anew instead of taking
/// them, and leaves alone, unfreed, what only a whole change keeps valid.
///
/// fork() itself waits for no thread that is inside the library, so nothing that hangs there hangs the fork.
class ForkRepair {
public:
    ForkRepair(void (*repair)(void *object), void *object);
    ~ForkRepair();
    ForkRepair(const ForkRepair &) = delete;
    ForkRepair &operator=(const ForkRepair &) = delete;

private:
    friend struct ForkRepairs;

    void (*m_repair)(void *);
    void *m_object;
    ForkRepair *m_next = nullptr;
    ForkRepair *m_previous = nullptr;
};

/// Makes an object anew in its place, whatever state it is in: what a repair does with a lock.
template<typename Object> void renew(Object &object) {
    new (&object) Object;
}

} // namespace zel
