// Compresses answers. Its memory is kept from text to text; it belongs to one thread.
#pragma once

#include "zel/serve/Negotiation.h"

#include <memory>
#include <string>
#include <string_view>

namespace zel {

class Compressor {
public:
    Compressor();
    ~Compressor();
    Compressor(const Compressor &) = delete;
    Compressor &operator=(const Compressor &) = delete;

    /// Puts the coded text into `out`, whose memory is used again. False when there is no memory for it.
    bool compress(Coding coding, std::string_view text, std::string &out);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace zel
