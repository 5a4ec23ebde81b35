// Sleep, clock readings and the string hash of NGFunctions.h.
#include "NGFunctions.h"

#include <cstdint>
#include <ctime>
#include <sys/select.h>
#include <sys/time.h>

int g_nIPv6Flag;

// A select without descriptors sleeps and leaves SIGALRM and its timers to the program.
int fgUSleep(int usec) {
    constexpr int microsecondsPerSecond = 1000000;
    constexpr int shortestSleep = 1000;
    if (usec < 1)
        usec = shortestSleep;
    timeval timeout{usec / microsecondsPerSecond, usec % microsecondsPerSecond};
    select(0, nullptr, nullptr, nullptr, &timeout);
    return 1;
}

// A double holds the seconds of today to less than a microsecond.
double fGetCurVelmorTime() {
    timeval now{};
    gettimeofday(&now, nullptr);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_usec) * 0.000001;
}

int fGetPushCurVelmorTime() {
    return static_cast<int>(std::time(nullptr));
}

// Keys of stored readings: the formula must never change. Bytes above 127 count as negative, as they always did.
int ELFHash(const char *text) {
    constexpr std::uint32_t multiplier = 131;
    constexpr std::uint32_t withoutTopBit = 0x7fffffff;
    std::uint32_t hash = 0;
    for (; *text != '\0'; ++text)
        hash = hash * multiplier + static_cast<std::uint32_t>(static_cast<signed char>(*text));
    return static_cast<int>(hash & withoutTopBit);
}
