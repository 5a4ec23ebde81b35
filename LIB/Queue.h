// The message queue of the logger and of the command scheduler: a list of pointers under a mutex and a condition
// variable. The queue does not own what its pointers refer to.
#pragma once

#include <list>
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
    /// not rely on the signal.
    void push(T item) {
        pthread_mutex_lock(&_lock);
        const bool heldMessages = !_list.empty();
        _list.push_back(item);
        pthread_mutex_unlock(&_lock);
        if (heldMessages)
            pthread_cond_broadcast(&_cond);
    }

    /// Removes and returns the first message. Waits once when the list is empty and returns null when it wakes to a
    /// list that is still empty.
    T pop() {
        pthread_mutex_lock(&_lock);
        if (_list.empty())
            pthread_cond_wait(&_cond, &_lock);
        T item{};
        if (!_list.empty()) {
            item = _list.front();
            _list.pop_front();
        }
        pthread_mutex_unlock(&_lock);
        return item;
    }

    int getCount() {
        pthread_mutex_lock(&_lock);
        const int count = static_cast<int>(_list.size());
        pthread_mutex_unlock(&_lock);
        return count;
    }

    std::list<T> _list;
    pthread_mutex_t _lock;
    pthread_cond_t _cond;
};
