// Answers requests.
#include "zel/serve/RequestDesk.h"

#include "zel/serve/Caseless.h"
#include "zel/serve/Status.h"

#include <new>
#include <utility>

namespace zel {

namespace {

constexpr std::string_view healthy = "ok\n";
constexpr std::chrono::seconds patience{5}; // beyond its deadline that a sample is waited for

// A reader that loses its stream comes again after this time.
const SharedText &firstEvent() {
    static const SharedText text = std::make_shared<std::string>("retry: 2000\n\n");
    return text;
}

const SharedText &heartbeatEvent() {
    static const SharedText text = std::make_shared<std::string>(": nothing new\n\n");
    return text;
}

TextKey keyOf(const Order &order) {
    TextKey key;
    key.areas = order.areas.to_ulong();
    key.rates = order.rates;
    key.coding = order.coding;
    if (order.endpoint == Endpoint::Sample)
        key.form = TextKey::Form::Json;
    if (order.endpoint == Endpoint::Stream)
        key.form = TextKey::Form::Event;
    if (order.endpoint == Endpoint::Metrics)
        key = {TextKey::Form::Metrics, order.format, order.coding, 0, false};
    return key;
}

void append(std::string &texts, std::string_view text) {
    texts += texts.empty() ? "" : ", ";
    texts += text;
}

// A header of the request. A body is what its length says, or what comes in pieces.
MHD_Result noteHeader(void *closure, MHD_ValueKind, const char *nameText, std::size_t nameLength, const char *valueText,
                      std::size_t valueLength) {
    RequestHead &head = *static_cast<RequestHead *>(closure);
    const std::string_view name(nameText, nameLength), text(valueText == nullptr ? "" : valueText, valueLength);
    head.isMalformed = head.isMalformed || !isHeaderFormed(name, text);
    if (isSameName(name, "Host")) {
        ++head.hosts;
        head.host = text;
    } else if (isSameName(name, "Accept")) {
        append(head.accept, text);
    } else if (isSameName(name, "Accept-Encoding")) {
        append(head.acceptEncoding, text);
    } else if (isSameName(name, "Authorization")) {
        ++head.authorizations;
        head.authorization = text;
    } else if (isSameName(name, "Content-Length")) {
        head.hasBody = head.hasBody || text != "0";
    } else if (isSameName(name, "Transfer-Encoding")) {
        head.hasBody = true;
    }
    return MHD_YES;
}

void suspend(Client &client) {
    client.isSuspended = true;
    MHD_suspend_connection(client.connection);
}

void resume(Client &client) {
    if (std::exchange(client.isSuspended, false))
        MHD_resume_connection(client.connection);
}

// What tells samples apart: the line "id: ..." of an event.
std::string_view eventNumber(const std::string &event) {
    return std::string_view(event).substr(0, event.find('\n'));
}

void addEvent(Client &client, SharedText event) {
    const Client::Clock::time_point now = Client::Clock::now();
    client.lastEvent = now;
    if (client.events.isEmpty())
        client.since = now;
    client.events.add(std::move(event));
    resume(client);
}

// A beat that comes just after the first event may share its sample.
void addSample(Client &client, SharedText event) {
    const std::string_view number = eventNumber(*event);
    if (number == client.lastNumber)
        return;
    client.lastNumber = number;
    addEvent(client, std::move(event));
}

// The next bytes of a stream. Without any its connection is suspended, until there is an event.
ssize_t readEvents(void *closure, std::uint64_t, char *out, std::size_t most) {
    Client &client = *static_cast<Client *>(closure);
    const SharedText before = client.events.current;
    const std::size_t taken = client.events.take(out, most);
    if (client.events.current != before)
        client.since = Client::Clock::now(); // the time for the next event begins
    if (taken > 0)
        return static_cast<ssize_t>(taken);
    if (client.events.isEnding)
        return MHD_CONTENT_READER_END_OF_STREAM;
    suspend(client);
    return 0;
}

} // namespace

Client *RequestDesk::opened(MHD_Connection *connection, int socket) noexcept {
    Client *client = m_clients.bySocket(socket);
    if (client != nullptr)
        client->connection = connection;
    return client;
}

void RequestDesk::closed(Client &client) noexcept {
    m_clients.remove(client.socket);
}

void RequestDesk::begun(Client &client, const char *target) noexcept {
    if (client.phase == Client::Phase::Idle)
        client.enter(Client::Phase::Asking, Client::Clock::now());
    client.isHeadRead = false;
    client.head.clear();
    try {
        client.head.target = target;
    } catch (const std::bad_alloc &) {
        Clients::cut(client);
    }
}

void RequestDesk::readHead(Client &client, const char *method) const {
    RequestHead &head = client.head;
    head.method = method;
    head.byLoopback = client.byLoopback;
    MHD_get_connection_values_n(client.connection, MHD_HEADER_KIND, noteHeader, &head);
    const MHD_ConnectionInfo *info =
        MHD_get_connection_info(client.connection, MHD_CONNECTION_INFO_REQUEST_HEADER_SIZE);
    head.bytes = info == nullptr ? 0 : info->header_size;
    client.request =
        parseRequest(head, {m_rules.requestBytes, m_rules.token, m_rules.names, m_rules.areas, m_rules.streamLeast});
}

// The library tells twice of a request: first of its head, when nothing of a body has been read. A request with a body,
// or with a header that is none, is answered then, and the connection ends, for what follows on it is no request.
MHD_Result RequestDesk::asked(Client &client, const char *method) noexcept {
    try {
        if (client.isHeadRead)
            return answer(client);
        client.isHeadRead = true;
        client.hasText = false;
        m_clients.renumber(client);
        Clients::noteHead(client);
        readHead(client, method);
        return client.head.hasBody || client.head.isMalformed ? answer(client) : MHD_YES;
    } catch (const std::bad_alloc &) {
        return MHD_NO; // the connection is closed
    }
}

MHD_Result RequestDesk::answer(Client &client) {
    if (client.isExcess)
        return refuse(client, STATUS_UNAVAILABLE, "there are too many connections");
    if (m_isEnding && !client.hasText)
        return refuse(client, STATUS_UNAVAILABLE, "the server ends");
    const ParsedRequest &request = client.request;
    if (request.status != 0)
        return refuse(client, request.status, request.problem);
    switch (request.order.endpoint) {
    case Endpoint::Index:
        return queue(client, STATUS_DONE, fixedResponse(indexPage(), "text/html; charset=utf-8"));
    case Endpoint::Health:
        return isHealthy() ? queue(client, STATUS_DONE, fixedResponse(healthy, "text/plain; charset=utf-8"))
                           : refuse(client, STATUS_UNAVAILABLE, "a sample does not come to its end");
    case Endpoint::Metrics:
    case Endpoint::Sample:
        return answerText(client);
    case Endpoint::Stream:
        break;
    }
    return answerStream(client);
}

bool RequestDesk::isHealthy() const {
    return m_sampling.busyFor() <= m_rules.deadline + patience;
}

MHD_Result RequestDesk::answerText(Client &client) {
    const Order &order = client.request.order;
    if (!client.hasText) {
        client.text = m_sampling.ask(keyOf(order), client.number);
        if (client.text == nullptr) {
            client.enter(Client::Phase::Waiting, Client::Clock::now());
            suspend(client);
            return MHD_YES;
        }
    }
    const SharedText text = std::move(client.text);
    client.text = nullptr;
    if (text == nullptr)
        return refuse(client, STATUS_UNAVAILABLE, "the host could not be sampled");
    const std::string_view type =
        order.endpoint == Endpoint::Metrics ? mediaType(order.format) : std::string_view("application/json");
    return queue(client, STATUS_DONE, sharedResponse(text, type, order.coding));
}

MHD_Result RequestDesk::answerStream(Client &client) {
    const Order &order = client.request.order;
    if (order.headOnly)
        return queue(client, STATUS_DONE, fixedResponse("", "text/event-stream"));
    if (m_streams >= m_rules.streams)
        return refuse(client, STATUS_UNAVAILABLE, "there are too many streams");
    if (!m_sampling.subscribe(keyOf(order), order.every, client.number))
        return refuse(client, STATUS_UNAVAILABLE, "there are too many streams of different times; take every=2s");
    const Client::Clock::time_point now = Client::Clock::now();
    client.events = {};
    client.events.add(firstEvent());
    client.lastEvent = now;
    client.lastNumber.clear();
    if (SharedText first = m_sampling.ask(keyOf(order), client.number); first != nullptr)
        addSample(client, std::move(first));
    ++m_streams;
    client.isStream = true;
    client.enter(Client::Phase::Streaming, now);
    return queue(client, STATUS_DONE, streamResponse(readEvents, &client));
}

MHD_Result RequestDesk::queue(Client &client, unsigned status, const Response &response) {
    if (response == nullptr)
        return MHD_NO;
    if (client.phase != Client::Phase::Streaming)
        client.enter(Client::Phase::Answering, Client::Clock::now());
    return MHD_queue_response(client.connection, status, response.get());
}

MHD_Result RequestDesk::refuse(Client &client, unsigned status, std::string_view problem) {
    const bool closes = client.isExcess || client.head.hasBody || client.head.isMalformed || m_isEnding;
    return queue(client, status, problemResponse(status, problem, client.request.isProgram, closes));
}

void RequestDesk::completed(Client &client) noexcept {
    if (client.isStream)
        --m_streams;
    if (client.isStream || client.phase == Client::Phase::Waiting)
        m_sampling.forget(client.number);
    client.isStream = false;
    client.events = {};
    client.text = nullptr;
    Clients::becomeIdle(client, Client::Clock::now());
}

void RequestDesk::takeTexts() {
    m_sampling.takeFinished(m_finished);
    for (FinishedText &finished : m_finished) {
        Client *client = m_clients.byNumber(finished.client);
        if (client == nullptr)
            continue;
        if (client->isStream && finished.text != nullptr && !client->events.isEnding) {
            addSample(*client, std::move(finished.text));
        } else if (client->phase == Client::Phase::Waiting && !finished.isBeat) {
            client->text = std::move(finished.text);
            client->hasText = true;
            resume(*client);
        }
    }
    m_finished.clear();
}

void RequestDesk::look(Client::Clock::time_point now) {
    m_clients.forEach([&](Client &client) {
        if (client.phase == Client::Phase::Streaming && client.events.isEmpty() &&
            now - client.lastEvent >= m_rules.heartbeat)
            addEvent(client, heartbeatEvent());
        if (client.phase == Client::Phase::Waiting && client.isSuspended &&
            now - client.since > m_rules.deadline + patience)
            giveUp(client);
    });
}

void RequestDesk::giveUp(Client &client) {
    m_sampling.forget(client.number);
    client.hasText = true; // there is none
    resume(client);
}

void RequestDesk::setRules(DeskRules rules) {
    const bool isOtherToken = rules.token != m_rules.token;
    m_rules = std::move(rules);
    if (isOtherToken)
        endStreams();
}

// What their clients have not taken yet goes before the end.
void RequestDesk::endStreams() {
    m_clients.forEach([this](Client &client) {
        if (!client.isStream)
            return;
        m_sampling.forget(client.number);
        client.events.isEnding = true;
        resume(client);
    });
}

void RequestDesk::end() {
    m_isEnding = true;
    endStreams();
}

void RequestDesk::release(const HttpDaemon &daemon) {
    m_clients.forEach([&](Client &client) {
        if (client.daemon == &daemon && client.isSuspended) {
            client.events.isEnding = true;
            giveUp(client);
        }
    });
}

} // namespace zel
