// Starts the HTTP library and passes its events on.
#include "zel/serve/HttpDaemon.h"

#include "zel/serve/HostCheck.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <limits>

namespace zel {

namespace {

constexpr std::size_t answerBytes = std::size_t{32} << 10U; // of a connection, for the head and a part of an answer
constexpr unsigned connectionsAtMost = 16384;               // the server has limits of its own, which are lower
constexpr const char *tlsVersions = "NORMAL:-VERS-ALL:+VERS-TLS1.3:+VERS-TLS1.2:%SERVER_PRECEDENCE";

HttpEvents &eventsOf(void *closure) {
    return *static_cast<HttpEvents *>(closure);
}

void noteConnection(void *closure, MHD_Connection *connection, void **context, MHD_ConnectionNotificationCode code) {
    if (code == MHD_CONNECTION_NOTIFY_STARTED) {
        const MHD_ConnectionInfo *info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
        *context = info == nullptr ? nullptr : eventsOf(closure).opened(connection, info->connect_fd);
    } else if (*context != nullptr) {
        eventsOf(closure).closed(*static_cast<Client *>(*context));
        *context = nullptr;
    }
}

Client *clientOf(MHD_Connection *connection) {
    const MHD_ConnectionInfo *info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
    return info == nullptr ? nullptr : static_cast<Client *>(info->socket_context);
}

void *noteTarget(void *closure, const char *target, MHD_Connection *connection) {
    Client *client = clientOf(connection);
    if (client != nullptr)
        eventsOf(closure).begun(*client, target);
    return client;
}

MHD_Result noteHead(void *closure, MHD_Connection *, const char *, const char *method, const char *, const char *,
                    std::size_t *bodySize, void **request) {
    if (*request == nullptr)
        return MHD_NO;
    *bodySize = 0;
    return eventsOf(closure).asked(*static_cast<Client *>(*request), method);
}

void noteCompleted(void *closure, MHD_Connection *, void **request, MHD_RequestTerminationCode) {
    if (*request != nullptr)
        eventsOf(closure).completed(*static_cast<Client *>(*request));
    *request = nullptr;
}

[[gnu::format(printf, 2, 0)]] void noteComplaint(void *closure, const char *format, va_list values) {
    char line[512];
    if (std::vsnprintf(line, sizeof(line), format, values) > 0)
        *static_cast<std::string *>(closure) = line;
}

} // namespace

HttpDaemon::HttpDaemon(TlsTexts tls, std::size_t requestBytes, HttpEvents &events, std::string &problem)
    : m_tls(std::move(tls)), m_requestBytes(requestBytes) {
    std::vector<MHD_OptionItem> options;
    if (m_tls.isUsed()) {
        options.push_back({MHD_OPTION_HTTPS_MEM_CERT, 0, m_tls.certificate.data()});
        options.push_back({MHD_OPTION_HTTPS_MEM_KEY, 0, m_tls.key.data()});
        options.push_back({MHD_OPTION_HTTPS_PRIORITIES, 0, const_cast<char *>(tlsVersions)});
    }
    options.push_back({MHD_OPTION_END, 0, nullptr});
    unsigned flags = MHD_USE_EPOLL | MHD_USE_NO_LISTEN_SOCKET | MHD_ALLOW_SUSPEND_RESUME | MHD_USE_ERROR_LOG;
    if (m_tls.isUsed())
        flags |= MHD_USE_TLS;
    m_daemon = MHD_start_daemon(flags, 0, nullptr, nullptr, noteHead, &events, MHD_OPTION_EXTERNAL_LOGGER,
                                noteComplaint, &m_complaint, MHD_OPTION_CONNECTION_LIMIT, connectionsAtMost,
                                MHD_OPTION_CONNECTION_MEMORY_LIMIT, requestBytes + answerBytes,
                                MHD_OPTION_STRICT_FOR_CLIENT, 1, MHD_OPTION_NOTIFY_CONNECTION, noteConnection, &events,
                                MHD_OPTION_NOTIFY_COMPLETED, noteCompleted, &events, MHD_OPTION_URI_LOG_CALLBACK,
                                noteTarget, &events, MHD_OPTION_ARRAY, options.data(), MHD_OPTION_END);
    if (m_daemon != nullptr)
        m_descriptor = MHD_get_daemon_info(m_daemon, MHD_DAEMON_INFO_EPOLL_FD)->epoll_fd;
    else
        problem = m_tls.isUsed() ? "certificate and key cannot be used: " + m_complaint : m_complaint;
    while (problem.ends_with('\n'))
        problem.pop_back();
}

HttpDaemon::~HttpDaemon() {
    if (m_daemon != nullptr)
        MHD_stop_daemon(m_daemon);
}

bool HttpDaemon::add(int socket, const SocketAddress &peer) {
    return MHD_add_connection(m_daemon, socket, reinterpret_cast<const sockaddr *>(&peer.storage), peer.length) ==
           MHD_YES;
}

int HttpDaemon::timeout() const {
    MHD_UNSIGNED_LONG_LONG milliseconds = 0;
    if (MHD_get_timeout(m_daemon, &milliseconds) != MHD_YES)
        return -1;
    return static_cast<int>(std::min<MHD_UNSIGNED_LONG_LONG>(milliseconds, std::numeric_limits<int>::max()));
}

void HttpDaemon::run() {
    MHD_run(m_daemon);
}

} // namespace zel
