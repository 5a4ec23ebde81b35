// Plain globals and members that several threads read and write. They stay plain for embedding programs, which assign
// them directly; the library goes through these two functions, so that its own threads see whole values in order.
#pragma once

#include <atomic>
#include <type_traits>

namespace zel {

template<typename T> T readShared(T &value) {
    return std::atomic_ref<T>(value).load(std::memory_order_acquire);
}

template<typename T> void writeShared(T &value, std::type_identity_t<T> newValue) {
    std::atomic_ref<T>(value).store(newValue, std::memory_order_release);
}

} // namespace zel
