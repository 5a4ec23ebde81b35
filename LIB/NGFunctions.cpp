#include "NGFunctions.h"

#include <sys/select.h>

int fgUSleep(int usec) {
    constexpr int microsecondsPerSecond = 1000000;
    constexpr int shortestSleep = 1000;
    if (usec < 1)
        usec = shortestSleep;
    timeval timeout{usec / microsecondsPerSecond, usec % microsecondsPerSecond};
    select(0, nullptr, nullptr, nullptr, &timeout);
    return 1;
}
