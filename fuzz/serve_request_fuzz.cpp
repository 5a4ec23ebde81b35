// The head of a request as any client may send it: its target and headers, with and without a token, names and limits.
#include "FuzzTarget.h"

#include "Ensure.h"

#include "zel/serve/Request.h"
#include "zel/serve/ServeSettings.h"

FUZZ_TARGET(serve_request_fuzz) {
    const unsigned options = input.byte();
    const std::vector<std::string> names{"db1.example"};
    zel::RequestRules rules;
    rules.requestBytes = 8192;
    rules.areas.set();
    rules.streamLeast = zel::STREAM_LEAST.otherwise;
    rules.token = (options & 1U) != 0 ? "0123456789abcdef" : "";
    if ((options & 2U) != 0)
        rules.names = names;
    zel::RequestHead head;
    head.byLoopback = (options & 4U) != 0;
    head.method = "GET";
    head.target = input.piece();
    head.host = input.piece();
    head.accept = input.piece();
    head.acceptEncoding = input.piece();
    head.authorization = input.piece();
    head.hosts = head.authorizations = 1;
    head.bytes = head.target.size();
    const zel::ParsedRequest request = zel::parseRequest(head, rules);
    // Whatever was sent, what is said of it is one line of printable text.
    for (const char byte : request.problem)
        fuzz::ensure(byte >= ' ' && byte <= '~', "a refusal shows bytes of the client");
    fuzz::ensure((request.status == 0) == request.problem.empty(), "a refusal has its reason");
    if (request.status == 0) {
        fuzz::ensure(request.order.every >= rules.streamLeast && request.order.every <= zel::STREAM_EVERY_MOST,
                     "the time of a stream is within its limits");
        const bool isData = request.order.endpoint != zel::Endpoint::Metrics;
        fuzz::ensure(!isData || request.order.areas.any(), "some area is asked for");
    }
}
