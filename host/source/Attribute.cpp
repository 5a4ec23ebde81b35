// Reads attribute files of devices.
#include "host/source/Attribute.h"

#include "host/source/AttributeText.h"

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
    const int error = read(root);
    return error == 0 ? attributeNumber(m_file.text().data()) : Count(absenceOf(error));
}

Number Attribute::scaled(const HostDirectory &root, double factor) {
    const Count value = number(root);
    return value ? Number(static_cast<double>(*value) * factor) : Number(value.absence());
}

void Attribute::text(const HostDirectory &root, Reading<std::string> &reading) {
    if (const int error = read(root); error != 0)
        return reading.clear(absenceOf(error));
    takeAttributeText(m_file.text(), reading);
}

} // namespace zel
