// Catches the thread that the library starts and does not run it, so that a test drives its work step by step. The
// destructor then runs it to its end on the test's own thread: the object that started it has to be gone by then.
#pragma once

#include "SystemHooks.h"

#include <pthread.h>

class HeldThread {
public:
    HeldThread() {
        systemHooks().pthreadCreate = [this](pthread_t *, const pthread_attr_t *attributes, void *(*routine)(void *),
                                             void *argument) {
            pthread_attr_getdetachstate(attributes, &m_detachState);
            m_routine = routine;
            m_argument = argument;
            ++m_started;
            return 0;
        };
    }
    ~HeldThread() {
        systemHooks().pthreadCreate = nullptr;
        systemHooks().select = [](int, fd_set *, fd_set *, fd_set *, timeval *) { return 0; };
        if (m_routine != nullptr)
            m_routine(m_argument);
        systemHooks().select = nullptr;
    }
    HeldThread(const HeldThread &) = delete;
    HeldThread &operator=(const HeldThread &) = delete;

    int started() const { return m_started; }
    bool detached() const { return m_detachState == PTHREAD_CREATE_DETACHED; }

private:
    int m_started = 0;
    int m_detachState = PTHREAD_CREATE_JOINABLE;
    void *(*m_routine)(void *) = nullptr;
    void *m_argument = nullptr;
};
