// The message queue of the logger and of the command scheduler: a list of pointers under a mutex and a condition
// variable. The queue does not own what its pointers refer to.
#pragma once

#include <cstddef>
#include <list>
#include <new>
#include <pthread.h>

template<typename T> class Queue {
public:
    Queue() {
        pthread_mutex_init(&_lock, nullptr);
        pthread_cond_init(&_cond, nullptr);
    }

    ~Queue() {
        pthread_cond_destroy(&_cond);
        pthread_mutex_destroy(&_lock);
    }

    Queue(const Queue &) = delete;
    Queue &operator=(const Queue &) = delete;

    /// Appends `item`. Wakes waiting readers only when the list already held messages: readers poll getCount and do
    /// not rely on the signal. Returns false, with nothing appended, when there is no memory.
    bool push(T item) { return append(item, _list.max_size()); }

    /// The same unless `limit` or more messages are queued: then false. Count and append are one step, so that no
    /// number of writers exceeds the limit.
    bool pushBelow(T item, std::size_t limit) { return append(item, limit); }

    /// Removes and returns the first message. Waits once when the list is empty and returns null when it wakes to a
    /// list that is still empty.
    T pop() {
        const Locked held(_lock);
        if (_list.empty())
            pthread_cond_wait(&_cond, &_lock);
        if (_list.empty())
            return T{};
        const T item = _list.front();
        _list.pop_front();
        return item;
    }

    int getCount() {
        const Locked held(_lock);
        return static_cast<int>(_list.size());
    }

    std::list<T> _list;
    pthread_mutex_t _lock;
    pthread_cond_t _cond;

private:
    // A reader that is cancelled while it waits leaves the queue unlocked.
    struct Locked {
        explicit Locked(pthread_mutex_t &lock) : m_lock(lock) { pthread_mutex_lock(&m_lock); }
        ~Locked() { pthread_mutex_unlock(&m_lock); }
        Locked(const Locked &) = delete;
        Locked &operator=(const Locked &) = delete;
        pthread_mutex_t &m_lock;
    };

    bool append(T item, std::size_t limit) {
        bool heldMessages = false;
        try {
            const Locked held(_lock);
            if (_list.size() >= limit)
                return false;
            heldMessages = !_list.empty();
            _list.push_back(item);
        } catch (const std::bad_alloc &) {
            return false;
        }
        if (heldMessages)
            pthread_cond_broadcast(&_cond);
        return true;
    }
};
