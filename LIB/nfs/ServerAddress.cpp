// Looks up NFS servers, within a time limit.
#include "CheckNfs.h"
#include "threads/BoundedCall.h"

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <netdb.h>
#include <new>
#include <string>
#include <sys/socket.h>
#include <vector>

namespace {

constexpr std::size_t firstLookUpBuffer = 1024;
constexpr std::size_t largestLookUpBuffer = 1024UL * 1024;

// The first address of a name in host tables and name service.
bool lookUp(const char *host, in_addr &address) {
    hostent entry{};
    hostent *found = nullptr;
    int failure = 0;
    std::vector<char> buffer(firstLookUpBuffer);
    while (gethostbyname_r(host, &entry, buffer.data(), buffer.size(), &found, &failure) == ERANGE &&
           buffer.size() < largestLookUpBuffer)
        buffer.resize(buffer.size() * 2);
    if (found == nullptr || found->h_addr_list[0] == nullptr || found->h_length > static_cast<int>(sizeof(address)))
        return false;
    std::memcpy(&address, found->h_addr_list[0], static_cast<std::size_t>(found->h_length));
    return true;
}

// The resolver has time-outs of its own, of half a minute and more: they do not count here.
bool lookUpInTime(const char *host, in_addr &address) {
    zel::BoundedCall<in_addr> call(
        std::string("resolve ") + host, std::chrono::seconds(NFS_NAME_SECONDS),
        [name = std::string(host)](in_addr &found) { return lookUp(name.c_str(), found) ? 0 : ENOENT; });
    if (call.wait().error != 0)
        return false;
    address = call.answer();
    return true;
}

} // namespace

int get_inaddr(sockaddr_in *addr, const char *host) {
    *addr = {};
    addr->sin_family = AF_INET;
    if (host == nullptr)
        return 0;
    addr->sin_addr.s_addr = inet_addr(host);
    if (addr->sin_addr.s_addr != INADDR_NONE)
        return 1;
    addr->sin_addr.s_addr = 0;
    try {
        return lookUpInTime(host, addr->sin_addr) ? 1 : 0;
    } catch (const std::bad_alloc &) {
        return 0;
    }
}
