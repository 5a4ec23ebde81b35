// Catches what the program writes to standard output and standard error, by descriptor.
#pragma once

#include <cstdio>
#include <string>

class StreamCapture {
public:
    StreamCapture();
    ~StreamCapture();
    StreamCapture(const StreamCapture &) = delete;
    StreamCapture &operator=(const StreamCapture &) = delete;

    /// Everything written so far.
    std::string out() const { return content(m_out); }
    std::string err() const { return content(m_err); }

private:
    struct Stream {
        int descriptor;
        int saved;
        std::FILE *file;
    };

    static Stream redirect(int descriptor);
    static void restore(const Stream &stream);
    static std::string content(const Stream &stream);

    Stream m_out;
    Stream m_err;
};
