// One attribute file of a device: a number or a word in a line of its own.
#pragma once

#include "host/Schema.h"
#include "host/source/SourceFile.h"

namespace zel {

/// A device that lacks an attribute is not asked for it in every sample.
class Attribute {
public:
    explicit Attribute(std::string path) : m_file(std::move(path)) {}

    Count number(const HostDirectory &root);
    /// The number times `factor`.
    Number scaled(const HostDirectory &root, double factor);
    /// The text without the blanks at its end; an empty one is unsupported.
    void text(const HostDirectory &root, Reading<std::string> &reading);

private:
    static constexpr unsigned SAMPLES_BEFORE_NEXT_TRY = 60;

    int read(const HostDirectory &root);

    SourceFile m_file;
    unsigned m_rest = 0; // samples in which a missing file is not looked for
};

} // namespace zel
