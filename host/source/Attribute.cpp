// Reads attribute files of devices.
#include "host/source/Attribute.h"

#include "text/NumberScan.h"

#include <cerrno>

namespace zel {

int Attribute::read(const HostDirectory &root) {
    if (m_rest > 0) {
        --m_rest;
        return ENOENT;
    }
    const int error = m_file.read(root);
    if (error == ENOENT)
        m_rest = SAMPLES_BEFORE_NEXT_TRY;
    return error;
}

Count Attribute::number(const HostDirectory &root) {
    if (const int error = read(root); error != 0)
        return absenceOf(error);
    const char *cursor = m_file.text().data();
    unsigned long long value = 0;
    if (*skipBlanks(cursor) == '-') // such as the speed of an interface without a link
        return Absence::Unsupported;
    return scanUnsigned(cursor, value) ? Count(value) : Count(Absence::Malformed);
}

Number Attribute::scaled(const HostDirectory &root, double factor) {
    const Count value = number(root);
    return value ? Number(static_cast<double>(*value) * factor) : Number(value.absence());
}

void Attribute::text(const HostDirectory &root, Reading<std::string> &reading) {
    if (const int error = read(root); error != 0)
        return reading.clear(absenceOf(error));
    std::string_view text = m_file.text();
    while (!text.empty() && (isBlank(text.back()) || text.back() == '\0'))
        text.remove_suffix(1);
    if (text.empty())
        return reading.clear(Absence::Unsupported);
    reading.set(text);
}

} // namespace zel
