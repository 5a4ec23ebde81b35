// One attribute file of a device: a number or a word in a line of its own.
#pragma once

#include "host/Schema.h"
#include "host/source/KernelSource.h"

namespace zel {

/// A device that lacks an attribute is not asked for it in every sample (KernelSource::SECONDS_BEFORE_NEXT_TRY).
class Attribute {
public:
    explicit Attribute(std::string path, KeptScope scope = KeptScope::Machine) : m_source(std::move(path), scope) {}

    /// A negative number, such as the speed of an interface without a link, is unsupported.
    Count number(const HostDirectory &root);
    /// The number times `factor`.
    Number scaled(const HostDirectory &root, double factor);
    /// The text without the blanks at its end; an empty one is unsupported.
    void text(const HostDirectory &root, Reading<std::string> &reading);

    /// Of the last read: 0, or the errno that it failed with; EBADMSG for a text that is no number.
    int error() const { return m_error; }
    const std::string &path() const { return m_source.path(); }
    void forgetMissing() { m_source.forgetMissing(); }

private:
    // What an attribute can hold at most is a page. One byte more shows that there is more.
    static constexpr std::size_t LIMIT = 4096;
    struct Room {
        char text[LIMIT + 2];
        std::size_t length;
    };

    int read(const HostDirectory &root, Room &room);

    KernelSource m_source;
    int m_error = 0;
};

} // namespace zel
