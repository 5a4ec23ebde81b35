// A server for ONC RPC over UDP: hears calls and answers them as a test wants, or not at all.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <netinet/in.h>
#include <optional>
#include <thread>
#include <vector>

struct RpcCall {
    std::uint32_t program;
    std::uint32_t version;
    std::uint32_t procedure;
    std::vector<std::uint32_t> arguments;

    bool operator==(const RpcCall &) const = default;
};

class RpcResponder {
public:
    using Words = std::vector<std::uint32_t>;
    /// The result of a call in words; nothing: no reply is sent.
    using Answer = std::function<std::optional<Words>(const RpcCall &)>;

    /// Serves `port` of the IPv4 address `address` from now on; a port of 0 lets the system choose.
    RpcResponder(const char *address, in_port_t port, Answer answer);
    ~RpcResponder();
    RpcResponder(const RpcResponder &) = delete;
    RpcResponder &operator=(const RpcResponder &) = delete;

    /// False when the port could not be had.
    bool serving() const { return m_serving; }
    in_port_t port() const { return m_port; }
    /// Every call heard so far, repetitions included.
    std::vector<RpcCall> calls() const;

    /// A portmapper that names one port for every program; 0: nothing is registered.
    static Answer portmapperNaming(in_port_t port);
    /// A program whose null procedure answers.
    static Answer nullProcedure();
    static Answer silence();

private:
    void serve();

    Answer m_answer;
    int m_socket;
    bool m_serving = false;
    in_port_t m_port = 0;
    std::atomic<bool> m_stop = false;
    mutable std::mutex m_mutex;
    std::vector<RpcCall> m_calls;
    std::thread m_thread;
};
