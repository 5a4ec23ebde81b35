// The text of an open file, read whole into memory that is kept for the next read. Used where a file stays open between
// samples and where it is opened anew; no setting is read here.
#pragma once

#include <cstddef>
#include <string_view>

namespace zel {

class FileBuffer {
public:
    enum class Outcome {
        Read,
        Failed,  // errno says why
        NoMemory // for so long a text
    };
    /// Where a read begins: where the file was read last, which a pipe in its place has too, or at its beginning.
    enum class Start { Here, Beginning };
    /// How the kernel hands a file out: at once, or some records at a time, so that a short read is not its end.
    enum class Records { One, Many };

    FileBuffer() = default;
    ~FileBuffer();
    FileBuffer(FileBuffer &&other) noexcept { swap(other); }
    FileBuffer &operator=(FileBuffer &&other) noexcept {
        swap(other);
        return *this;
    }

    /// Reads to the end of the file, or to HOST_FILE_LIMIT bytes. What was read before a read failed stays as the text.
    /// Without growth of the file no memory is allocated.
    Outcome read(int file, Start start, Records records);

    void swap(FileBuffer &other) noexcept;
    /// Makes the buffer as large as that of `other`, where there is memory for it. The text is kept.
    void growLike(const FileBuffer &other);
    void clear() { m_length = 0; }

    /// Valid until the next read. After a read it is terminated.
    char *data() const { return m_buffer; }
    std::size_t length() const { return m_length; }
    std::string_view text() const { return {m_buffer, m_length}; }

private:
    bool makeRoom();
    bool grow(std::size_t size);
    Outcome end(Outcome outcome);

    char *m_buffer = nullptr;
    std::size_t m_size = 0;
    std::size_t m_length = 0; // less than m_size, once there is a buffer
};

} // namespace zel
