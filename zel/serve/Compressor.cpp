// gzip by zlib and zstd, at the levels that cost the least time: the text is made anew for every scrape.
#include "zel/serve/Compressor.h"

#include <algorithm>
#include <limits>

#include <zlib.h>
#include <zstd.h>

namespace zel {

namespace {

constexpr int gzipLevel = 1, zstdLevel = 1;
constexpr int gzipWindowBits = 15 + 16; // the largest window, with the frame of gzip
constexpr int gzipMemoryLevel = 8;      // zlib's default

} // namespace

struct Compressor::State {
    z_stream gzip{};
    bool gzipMade = false;
    ZSTD_CCtx *zstd = nullptr;

    bool makeGzip() {
        if (!gzipMade)
            gzipMade =
                deflateInit2(&gzip, gzipLevel, Z_DEFLATED, gzipWindowBits, gzipMemoryLevel, Z_DEFAULT_STRATEGY) == Z_OK;
        return gzipMade && deflateReset(&gzip) == Z_OK;
    }
    bool byGzip(std::string_view text, std::string &out) {
        if (!makeGzip() || text.size() > std::numeric_limits<uInt>::max())
            return false;
        out.resize(deflateBound(&gzip, text.size()));
        gzip.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(text.data())); // zlib only reads it
        gzip.avail_in = static_cast<uInt>(text.size());
        gzip.next_out = reinterpret_cast<Bytef *>(out.data());
        gzip.avail_out = static_cast<uInt>(std::min<std::size_t>(out.size(), std::numeric_limits<uInt>::max()));
        const bool isWhole = deflate(&gzip, Z_FINISH) == Z_STREAM_END;
        out.resize(isWhole ? gzip.total_out : 0);
        return isWhole;
    }
    bool byZstd(std::string_view text, std::string &out) {
        if (zstd == nullptr)
            zstd = ZSTD_createCCtx();
        if (zstd == nullptr)
            return false;
        out.resize(ZSTD_compressBound(text.size()));
        const std::size_t size = ZSTD_compressCCtx(zstd, out.data(), out.size(), text.data(), text.size(), zstdLevel);
        out.resize(ZSTD_isError(size) == 0 ? size : 0);
        return ZSTD_isError(size) == 0;
    }
};

Compressor::Compressor() : m_state(std::make_unique<State>()) {}

Compressor::~Compressor() {
    if (m_state->gzipMade)
        deflateEnd(&m_state->gzip);
    ZSTD_freeCCtx(m_state->zstd);
}

bool Compressor::compress(Coding coding, std::string_view text, std::string &out) {
    switch (coding) {
    case Coding::Gzip:
        return m_state->byGzip(text, out);
    case Coding::Zstd:
        return m_state->byZstd(text, out);
    case Coding::Identity:
        break;
    }
    out.assign(text);
    return true;
}

} // namespace zel
