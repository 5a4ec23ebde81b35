// Answers what the library asks of the system with the values of the input.
#include "Surroundings.h"

#include "Ensure.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <pwd.h>
#include <string_view>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace fuzz {

Surroundings &surroundings() {
    static Surroundings answers;
    return answers;
}

Surroundings &freshSurroundings() {
    return surroundings() = Surroundings{};
}

void passTime(long seconds, long microseconds) {
    timeval &now = surroundings().now;
    const long total = now.tv_usec + microseconds;
    now = {now.tv_sec + seconds + total / 1000000, total % 1000000};
}

void ensureTame(const std::string &command) {
    std::string rest = command;
    // What the library itself writes into its commands.
    for (const std::string_view own :
         {"2>&1", "2> /dev/null", "> ../aproc/shell/", " | grep 'System RAM' | wc -l", " &", "&"}) {
        const std::size_t place = rest.find(own);
        const bool atEnd = place != std::string::npos && place + own.size() == rest.size();
        if (place != std::string::npos && (own.back() != '&' || atEnd))
            rest.erase(place, own.size());
    }
    constexpr const char *wild = ";&|<>`$()\n\r\"'\\*?[]{}!#~\t";
    ensure(rest.find_first_of(wild) == std::string::npos, "a command holds what a shell interprets");
    for (const char character : rest)
        ensure(character >= ' ' && character < 127, "a command holds bytes that are no text");
}

} // namespace fuzz

using fuzz::surroundings;

// NOLINTBEGIN(bugprone-reserved-identifier): names that the linker's --wrap prescribes
extern "C" {

int __wrap_gettimeofday(timeval *now, void *) {
    *now = surroundings().now;
    return 0;
}

std::time_t __wrap_time(std::time_t *out) {
    if (out != nullptr)
        *out = surroundings().now.tv_sec;
    return surroundings().now.tv_sec;
}

int __wrap_select(int, fd_set *, fd_set *, fd_set *, timeval *timeout) {
    if (timeout != nullptr)
        fuzz::passTime(timeout->tv_sec, timeout->tv_usec);
    return 0;
}

int __wrap_uname(utsname *system) {
    *system = {};
    std::snprintf(system->release, sizeof(system->release), "%s", surroundings().release);
    return 0;
}

int __wrap_system(const char *command) {
    fuzz::ensureTame(command);
    ++surroundings().commands;
    return 0;
}

FILE *__wrap_popen(const char *command, const char *) {
    fuzz::ensureTame(command);
    ++surroundings().commands;
    FILE *output = std::tmpfile();
    std::fputs(surroundings().commandOutput.c_str(), output);
    std::rewind(output);
    return output;
}

int __wrap_statfs64(const char *, struct statfs64 *status) {
    if (surroundings().statfsError != 0) {
        errno = surroundings().statfsError;
        return -1;
    }
    *status = surroundings().filesystem;
    return 0;
}

passwd *__wrap_getpwuid(uid_t uid) {
    static char none[] = "";
    static passwd entry{};
    entry = {surroundings().userName.data(), none, uid, uid, none, none, none};
    return &entry;
}

int __wrap_getpwuid_r(uid_t uid, passwd *entry, char *, size_t, passwd **result) {
    *entry = *__wrap_getpwuid(uid);
    *result = entry;
    return 0;
}

int __wrap_socket(int, int, int) {
    return open("/dev/null", O_RDWR | O_CLOEXEC);
}

int __wrap_ioctl(int, unsigned long, ...) {
    errno = ENODEV;
    return surroundings().ioctlResult;
}

int __wrap_connect(int, const sockaddr *, socklen_t) {
    errno = ECONNREFUSED;
    return -1;
}

int __wrap_gethostbyname_r(const char *, hostent *, char *, size_t, hostent **result, int *error) {
    *result = nullptr;
    *error = HOST_NOT_FOUND;
    return 0;
}

void *__wrap_clntudp_create(sockaddr_in *, unsigned long, unsigned long, timeval, int *) {
    return nullptr;
}

} // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
