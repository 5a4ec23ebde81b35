// How much stack a call needs: it runs on a thread whose stack is painted before, and the paint that is gone tells how
// deep it went.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/mman.h>

/// What every public call of the library keeps below.
inline constexpr std::size_t STACK_LIMIT = 16384;

namespace stack_use_detail {

inline constexpr std::size_t stackSize = std::size_t{1} << 18;
inline constexpr unsigned char paint = 0xA5;

struct Deep {
    const std::function<void()> &call;
    unsigned char *stack;
    std::size_t used = 0;
};

inline void *runPainted(void *argument) {
    auto &deep = *static_cast<Deep *>(argument);
    unsigned char here = 0;
    unsigned char *top = &here - 512; // what this function needs is left alone
    std::memset(deep.stack, paint, static_cast<std::size_t>(top - deep.stack));
    deep.call();
    const unsigned char *deepest = std::find_if(deep.stack, top, [](unsigned char byte) { return byte != paint; });
    deep.used = static_cast<std::size_t>(top - deepest);
    return nullptr;
}

} // namespace stack_use_detail

/// Bytes of stack that `call` needs below its caller.
inline std::size_t stackUseOf(const std::function<void()> &call) {
    using namespace stack_use_detail;
    void *memory = mmap(nullptr, stackSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
    EXPECT_NE(memory, MAP_FAILED);
    Deep deep{call, static_cast<unsigned char *>(memory)};
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstack(&attributes, memory, stackSize);
    pthread_t thread{};
    EXPECT_EQ(pthread_create(&thread, &attributes, runPainted, &deep), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    munmap(memory, stackSize);
    return deep.used;
}
