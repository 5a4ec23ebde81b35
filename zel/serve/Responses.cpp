// Makes answers with their headers.
#include "zel/serve/Responses.h"

#include "export/Json.h"
#include "export/Text.h"
#include "zel/serve/Status.h"

#include <array>
#include <string>

#include <microhttpd.h>

namespace zel {

namespace {

constexpr std::size_t eventPiece = 16384; // bytes of an event that the library asks for at one time

struct Header {
    const char *name, *value;
};
constexpr std::array<Header, 7> strictHeaders{{
    {"Cache-Control", "no-store"},
    {"X-Content-Type-Options", "nosniff"},
    {"X-Frame-Options", "DENY"},
    {"Referrer-Policy", "no-referrer"},
    {"Content-Security-Policy", "default-src 'none'; frame-ancestors 'none'; base-uri 'none'; form-action 'none'"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
    {"Vary", "Accept, Accept-Encoding, Authorization"},
}};

constexpr std::string_view page = R"(<!DOCTYPE html>
<html lang="en">
<head><meta charset="utf-8"><title>zel</title></head>
<body>
<h1>zel</h1>
<ul>
<li><a href="/metrics">/metrics</a>: this host for Prometheus and what reads its formats</li>
<li><a href="/api/v1/sample">/api/v1/sample</a>: a sample as JSON
(<a href="/api/v1/sample?areas=cpu,memory&amp;rates=true">areas=cpu,memory&amp;rates=true</a>)</li>
<li><a href="/api/v1/stream?areas=load&amp;every=2s">/api/v1/stream?areas=load&amp;every=2s</a>: samples as they are
taken, as server-sent events</li>
<li><a href="/healthz">/healthz</a>: whether this server can answer</li>
</ul>
</body>
</html>
)";

void add(MHD_Response *response, const char *name, std::string_view value) {
    MHD_add_response_header(response, name, std::string(value).c_str());
}

Response finished(MHD_Response *response, std::string_view mediaType) {
    if (response == nullptr)
        return nullptr;
    for (const Header &header : strictHeaders)
        MHD_add_response_header(response, header.name, header.value);
    add(response, "Content-Type", mediaType);
    return Response(response);
}

void releaseText(void *closure) {
    delete static_cast<SharedText *>(closure);
}

std::string problemText(unsigned status, std::string_view problem, bool isProgram) {
    std::string text;
    if (!isProgram)
        return text.append(problem).append("\n");
    text += "{\"status\":";
    appendNumber(text, std::uint64_t{status});
    text += ",\"error\":";
    appendJsonText(text, problem);
    return text += "}\n";
}

} // namespace

void ResponseDeleter::operator()(MHD_Response *response) const {
    MHD_destroy_response(response);
}

Response sharedResponse(const SharedText &text, std::string_view mediaType, Coding coding) {
    auto *reference = new SharedText(text);
    MHD_Response *made = MHD_create_response_from_buffer_with_free_callback_cls(
        text->size(), const_cast<char *>(text->data()), releaseText, reference); // which only reads it
    if (made == nullptr)
        delete reference;
    Response response = finished(made, mediaType);
    if (response != nullptr && coding != Coding::Identity)
        add(response.get(), "Content-Encoding", codingName(coding));
    return response;
}

Response fixedResponse(std::string_view text, std::string_view mediaType) {
    return finished(
        MHD_create_response_from_buffer(text.size(), const_cast<char *>(text.data()), MHD_RESPMEM_PERSISTENT),
        mediaType);
}

Response problemResponse(unsigned status, std::string_view problem, bool isProgram, bool closes) {
    std::string text = problemText(status, problem, isProgram);
    Response response = finished(MHD_create_response_from_buffer(text.size(), text.data(), MHD_RESPMEM_MUST_COPY),
                                 isProgram ? "application/json" : "text/plain; charset=utf-8");
    if (response == nullptr)
        return nullptr;
    if (status == STATUS_WRONG_METHOD)
        add(response.get(), "Allow", "GET, HEAD");
    if (status == STATUS_UNAUTHORISED)
        add(response.get(), "WWW-Authenticate", "Bearer realm=\"zel\"");
    if (status == STATUS_UNAVAILABLE)
        add(response.get(), "Retry-After", "1");
    if (closes)
        add(response.get(), "Connection", "close");
    return response;
}

Response streamResponse(ssize_t (*read)(void *, std::uint64_t, char *, std::size_t), void *closure) {
    return finished(MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, eventPiece, read, closure, nullptr),
                    "text/event-stream");
}

std::string_view indexPage() {
    return page;
}

} // namespace zel
