// A file descriptor that is closed at the end of its scope.
#pragma once

#include <unistd.h>
#include <utility>

namespace agent {

class Descriptor {
public:
    explicit Descriptor(int descriptor = -1) : m_descriptor(descriptor) {}
    ~Descriptor() { reset(); }

    Descriptor(Descriptor &&other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept {
        reset(std::exchange(other.m_descriptor, -1));
        return *this;
    }

    void reset(int descriptor = -1) {
        if (m_descriptor >= 0)
            close(m_descriptor);
        m_descriptor = descriptor;
    }
    bool valid() const { return m_descriptor >= 0; }
    int get() const { return m_descriptor; }

private:
    int m_descriptor;
};

} // namespace agent
