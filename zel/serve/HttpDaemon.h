// The HTTP library, libmicrohttpd, as the server uses it: it is given connections that were accepted already, runs
// whenever its descriptor is readable, and has no thread of its own. Everything is called from one thread.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <microhttpd.h>

namespace zel {

struct Client;
struct SocketAddress;

/// What the library tells of. Nothing is thrown.
class HttpEvents {
public:
    virtual ~HttpEvents() = default;
    virtual Client *opened(MHD_Connection *connection, int socket) noexcept = 0;
    virtual void closed(Client &client) noexcept = 0;
    /// The first line of a request came; its target as it was sent.
    virtual void begun(Client &client, const char *target) noexcept = 0;
    /// The head is whole: to be answered, or suspended and then told again.
    virtual MHD_Result asked(Client &client, const char *method) noexcept = 0;
    virtual void completed(Client &client) noexcept = 0;
};

/// Certificate and key as PEM; both empty: no TLS.
struct TlsTexts {
    std::string certificate, key;
    bool isUsed() const { return !certificate.empty(); }
    bool operator==(const TlsTexts &) const = default;
};

class HttpDaemon {
public:
    /// `problem` says why it could not be made.
    HttpDaemon(TlsTexts tls, std::size_t requestBytes, HttpEvents &events, std::string &problem);
    /// No connection is suspended. Those that are open are closed.
    ~HttpDaemon();
    HttpDaemon(const HttpDaemon &) = delete;
    HttpDaemon &operator=(const HttpDaemon &) = delete;

    /// Takes a connection over. False when it could not; then it is closed.
    bool add(int socket, const SocketAddress &peer);
    int descriptor() const { return m_descriptor; }
    /// After how many milliseconds run() is due without an event; -1: without an event it is not.
    int timeout() const;
    void run();

    const TlsTexts &tls() const { return m_tls; }
    std::size_t requestBytes() const { return m_requestBytes; }

private:
    TlsTexts m_tls;
    std::size_t m_requestBytes;
    std::string m_complaint; // of the library, while it starts
    MHD_Daemon *m_daemon = nullptr;
    int m_descriptor = -1;
};

} // namespace zel
