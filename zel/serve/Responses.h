// The answers as the HTTP library sends them: each with the headers that keep browsers from doing anything with it.
#pragma once

#include "zel/serve/Request.h"
#include "zel/serve/SamplingThread.h"

#include <memory>
#include <string_view>

struct MHD_Response;

namespace zel {

struct ResponseDeleter {
    void operator()(MHD_Response *response) const;
};
/// Null when there is no memory for it.
using Response = std::unique_ptr<MHD_Response, ResponseDeleter>;

/// A text that is shared with other answers.
Response sharedResponse(const SharedText &text, std::string_view mediaType, Coding coding);
/// A text that lives as long as the program.
Response fixedResponse(std::string_view text, std::string_view mediaType);
/// What is wrong, as one line of text, or for programs as {"status":404,"error":"..."}. `closes`: the connection ends.
Response problemResponse(unsigned status, std::string_view problem, bool isProgram, bool closes);
/// A stream of events, which `read` gives piece by piece.
Response streamResponse(ssize_t (*read)(void *closure, std::uint64_t position, char *out, std::size_t most),
                        void *closure);

/// What / shows.
std::string_view indexPage();

} // namespace zel
