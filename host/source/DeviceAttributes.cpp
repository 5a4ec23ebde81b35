// Reads attributes of devices.
#include "host/source/DeviceAttributes.h"

#include "host/source/AttributeText.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <utility>

namespace zel {

namespace {

bool isFileName(std::string_view name) {
    return !name.empty() && name.size() <= NAME_MAX && name != "." && name != ".." &&
           name.find('\0') == std::string_view::npos;
}

} // namespace

DeviceAttributes::DeviceAttributes(const HostDirectory &root, std::string_view classDirectory, std::string_view name)
    : m_root(root) {
    m_path[0] = '\0';
    m_text[0] = '\0';
    if (!isFileName(name) || classDirectory.size() + name.size() + 2 >= m_path.size())
        return;
    char *end = std::copy(classDirectory.begin(), classDirectory.end(), m_path.begin());
    *end++ = '/';
    end = std::replace_copy(name.begin(), name.end(), end, '/', '!');
    *end = '\0';
    m_prefix = static_cast<std::size_t>(end - m_path.data());
}

// Null when the device can have no attributes.
const char *DeviceAttributes::pathOf(std::string_view attribute) {
    if (m_prefix == 0 || m_prefix + attribute.size() + 2 > m_path.size())
        return nullptr;
    char *end = m_path.data() + m_prefix;
    if (!attribute.empty())
        *end++ = '/';
    end = std::copy(attribute.begin(), attribute.end(), end);
    *end = '\0';
    return m_path.data();
}

int DeviceAttributes::hold() {
    ScopedDescriptor directory = open("", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    struct stat status {};
    if (!directory.valid() || fstat(directory.get(), &status) != 0)
        return errno;
    m_directory = std::move(directory);
    m_identity = identityOf(status);
    return 0;
}

// No link leads from a directory that is held: an attribute of sysfs is none.
ScopedDescriptor DeviceAttributes::open(std::string_view attribute, int flags) {
    const char *path = pathOf(attribute);
    if (path == nullptr) {
        errno = ENOENT;
        return ScopedDescriptor(-1);
    }
    if (!m_directory.valid())
        return m_root.open(path, flags);
    return ScopedDescriptor(openat(m_directory.get(), path + m_prefix + 1, flags | O_NOFOLLOW));
}

int DeviceAttributes::readOpen(int file) {
    ssize_t count = 0;
    do
        count = pread(file, m_text.data(), TEXT_SIZE, 0);
    while (count < 0 && errno == EINTR);
    m_length = static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    m_text[m_length] = '\0';
    if (count >= 0)
        return 0;
    return errno == EINVAL ? EOPNOTSUPP : errno;
}

int DeviceAttributes::read(std::string_view attribute) {
    const ScopedDescriptor file = open(attribute);
    return file.valid() ? readOpen(file.get()) : errno;
}

Count DeviceAttributes::number(std::string_view attribute) {
    const int error = read(attribute);
    return error == 0 ? attributeNumber(m_text.data()) : Count(absenceOf(error));
}

Count DeviceAttributes::number(std::string_view attribute, KeptDescriptor &kept) {
    if (const int open = kept.descriptor(); open >= 0) {
        const int error = readOpen(open);
        return error == 0 ? attributeNumber(m_text.data()) : Count(absenceOf(error));
    }
    ScopedDescriptor file = open(attribute);
    if (!file.valid())
        return absenceOf(errno);
    if (const int error = readOpen(file.get()); error != 0)
        return absenceOf(error);
    m_root.keep(std::move(file), kept);
    return attributeNumber(m_text.data());
}

void DeviceAttributes::text(std::string_view attribute, Reading<std::string> &reading) {
    if (const int error = read(attribute); error != 0)
        return reading.clear(absenceOf(error));
    takeAttributeText(text(), reading);
}

bool DeviceAttributes::has(std::string_view attribute) {
    return open(attribute, O_PATH | O_NOFOLLOW | O_CLOEXEC).valid();
}

std::string_view DeviceAttributes::link(std::string_view attribute) {
    const ScopedDescriptor file = open(attribute, O_PATH | O_NOFOLLOW | O_CLOEXEC);
    if (!file.valid())
        return {};
    const ssize_t length = readlinkat(file.get(), "", m_text.data(), TEXT_SIZE);
    return length > 0 ? std::string_view(m_text.data(), static_cast<std::size_t>(length)) : std::string_view();
}

std::string_view lastPart(std::string_view path) {
    return path.substr(path.rfind('/') + 1); // npos + 1 is 0
}

std::string_view withoutLastPart(std::string_view path) {
    return path.substr(0, path.rfind('/') == std::string_view::npos ? 0 : path.rfind('/'));
}

} // namespace zel
