// Parses ONC RPC calls and sends the answers of a test, on a thread of its own.
#include "RpcResponder.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using Words = RpcResponder::Words;

constexpr std::size_t largestDatagram = 8192;
constexpr int pollMilliseconds = 20;

// Words of a call: xid, 0 (call), 2 (RPC version), program, version, procedure, then credential and verifier, each
// flavour, length and body.
enum CallWord { WORD_XID, WORD_KIND, WORD_RPC_VERSION, WORD_PROGRAM, WORD_VERSION, WORD_PROCEDURE, WORD_CREDENTIAL };

std::size_t behindAuthentication(const Words &words, std::size_t start) {
    return start + 1 < words.size() ? start + 2 + (words[start + 1] + 3) / 4 : words.size();
}

std::optional<RpcCall> parseCall(const Words &words) {
    if (words.size() <= WORD_CREDENTIAL || words[WORD_KIND] != 0 || words[WORD_RPC_VERSION] != 2)
        return std::nullopt;
    const std::size_t arguments = behindAuthentication(words, behindAuthentication(words, WORD_CREDENTIAL));
    if (arguments > words.size())
        return std::nullopt;
    return RpcCall{words[WORD_PROGRAM],
                   words[WORD_VERSION],
                   words[WORD_PROCEDURE],
                   {words.begin() + static_cast<std::ptrdiff_t>(arguments), words.end()}};
}

// xid, 1 (reply), 0 (accepted), a null verifier, 0 (success), the result.
Words reply(std::uint32_t xid, const Words &result) {
    Words words = {xid, 1, 0, 0, 0, 0};
    words.insert(words.end(), result.begin(), result.end());
    return words;
}

Words receive(int socket, sockaddr_in &from) {
    Words words(largestDatagram / 4);
    socklen_t length = sizeof(from);
    const ssize_t size =
        recvfrom(socket, words.data(), largestDatagram, 0, reinterpret_cast<sockaddr *>(&from), &length);
    words.resize(size < 0 ? 0 : static_cast<std::size_t>(size) / 4);
    for (std::uint32_t &word : words)
        word = ntohl(word);
    return words;
}

void send(int socket, const sockaddr_in &to, Words words) {
    for (std::uint32_t &word : words)
        word = htonl(word);
    sendto(socket, words.data(), words.size() * 4, 0, reinterpret_cast<const sockaddr *>(&to), sizeof(to));
}

} // namespace

RpcResponder::RpcResponder(const char *address, in_port_t port, Answer answer)
    : m_answer(std::move(answer)), m_socket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in own{};
    own.sin_family = AF_INET;
    own.sin_addr.s_addr = inet_addr(address);
    own.sin_port = htons(port);
    socklen_t length = sizeof(own);
    m_serving = bind(m_socket, reinterpret_cast<const sockaddr *>(&own), sizeof(own)) == 0 &&
                getsockname(m_socket, reinterpret_cast<sockaddr *>(&own), &length) == 0;
    m_port = ntohs(own.sin_port);
    m_thread = std::thread([this] { serve(); });
}

RpcResponder::~RpcResponder() {
    m_stop = true;
    m_thread.join();
    close(m_socket);
}

std::vector<RpcCall> RpcResponder::calls() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_calls;
}

void RpcResponder::serve() {
    while (!m_stop) {
        pollfd readable{m_socket, POLLIN, 0};
        if (poll(&readable, 1, pollMilliseconds) <= 0)
            continue;
        sockaddr_in from{};
        const Words words = receive(m_socket, from);
        const std::optional<RpcCall> call = parseCall(words);
        if (!call)
            continue;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_calls.push_back(*call);
        }
        if (const std::optional<Words> result = m_answer(*call))
            send(m_socket, from, reply(words[WORD_XID], *result));
    }
}

RpcResponder::Answer RpcResponder::portmapperNaming(in_port_t port) {
    return [port](const RpcCall &) { return Words{port}; };
}

RpcResponder::Answer RpcResponder::nullProcedure() {
    return [](const RpcCall &) { return Words{}; };
}

RpcResponder::Answer RpcResponder::silence() {
    return [](const RpcCall &) { return std::nullopt; };
}
