// Redirects the standard streams to temporary files.
#include "StreamCapture.h"

#include <unistd.h>

StreamCapture::StreamCapture() : m_out(redirect(STDOUT_FILENO)), m_err(redirect(STDERR_FILENO)) {}

StreamCapture::~StreamCapture() {
    restore(m_out);
    restore(m_err);
}

StreamCapture::Stream StreamCapture::redirect(int descriptor) {
    std::fflush(nullptr);
    const Stream stream{descriptor, dup(descriptor), std::tmpfile()};
    dup2(fileno(stream.file), descriptor);
    return stream;
}

void StreamCapture::restore(const Stream &stream) {
    std::fflush(nullptr);
    dup2(stream.saved, stream.descriptor);
    close(stream.saved);
    std::fclose(stream.file);
}

std::string StreamCapture::content(const Stream &stream) {
    std::fflush(nullptr);
    std::string text;
    char piece[4096];
    off_t offset = 0;
    ssize_t count = 0;
    while ((count = pread(fileno(stream.file), piece, sizeof(piece), offset)) > 0) {
        text.append(piece, static_cast<std::size_t>(count));
        offset += count;
    }
    return text;
}
