// What a fuzz target is: FUZZ_TARGET(name) { body over `input` }. Under libFuzzer the body is the entry point of the
// program; in the replay program it is found by its name. Everything that a target keeps between inputs it sets anew
// from the input, so that every input reproduces by itself.
#pragma once

#include "FuzzedInput.h"

namespace fuzz {

using Body = void (*)(FuzzedInput &input);

/// Makes a target known to the replay program.
struct Registration {
    Registration(const char *name, Body body);
};

} // namespace fuzz

#ifdef ZEL_FUZZ_REPLAY
#define FUZZ_TARGET(name)                                                                                              \
    static void name(fuzz::FuzzedInput &input);                                                                        \
    static const fuzz::Registration registration(#name, name);                                                         \
    static void name(fuzz::FuzzedInput &input)
#else
#define FUZZ_TARGET(name)                                                                                              \
    static void name(fuzz::FuzzedInput &input);                                                                        \
    extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size) {                               \
        fuzz::FuzzedInput input(data, size);                                                                           \
        name(input);                                                                                                   \
        return 0;                                                                                                      \
    }                                                                                                                  \
    static void name(fuzz::FuzzedInput &input)
#endif
