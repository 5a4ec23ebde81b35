// Reads attribute files of devices.
#include "host/source/Attribute.h"

#include "host/source/AttributeText.h"

#include <unistd.h>

namespace zel {

int Attribute::read(const HostDirectory &root, Room &room) {
    m_error = m_source.read(root, [&room](int file) {
        ssize_t count = 0;
        do
            count = pread(file, room.text, LIMIT + 1, 0);
        while (count < 0 && errno == EINTR);
        if (count < 0)
            return errno;
        room.length = static_cast<std::size_t>(count);
        room.text[room.length] = '\0';
        return room.length <= LIMIT ? 0 : EFBIG;
    });
    return m_error;
}

Count Attribute::number(const HostDirectory &root) {
    Room room;
    if (const int error = read(root, room); error != 0)
        return absenceOf(error);
    const Count number = attributeNumber(room.text);
    if (number.absence() == Absence::Malformed)
        m_error = EBADMSG;
    return number;
}

Number Attribute::scaled(const HostDirectory &root, double factor) {
    const Count value = number(root);
    return value ? Number(static_cast<double>(*value) * factor) : Number(value.absence());
}

void Attribute::text(const HostDirectory &root, Reading<std::string> &reading) {
    Room room;
    if (const int error = read(root, room); error != 0)
        return reading.clear(absenceOf(error));
    takeAttributeText({room.text, room.length}, reading);
}

} // namespace zel
