// The names of the reasons why a reading holds no value.
#include "host/Reading.h"

#include <cerrno>

namespace zel {

std::string_view absenceName(Absence absence) {
    switch (absence) {
    case Absence::None:
        return "";
    case Absence::NotYet:
        return "not_yet";
    case Absence::Unsupported:
        return "unsupported";
    case Absence::Denied:
        return "denied";
    case Absence::Vanished:
        return "vanished";
    case Absence::TimedOut:
        return "timed_out";
    case Absence::NotAsked:
        return "not_asked";
    case Absence::Malformed:
        return "malformed";
    }
    return "";
}

Absence absenceOf(int error) {
    switch (error) {
    case 0:
        return Absence::None;
    case EACCES:
    case EPERM:
        return Absence::Denied;
    case ESRCH:
    case ENODEV:
    case ENXIO:
        return Absence::Vanished;
    case ENOENT:
    case ENOTDIR:
    case ELOOP:
    case EOPNOTSUPP:
    case ENOSYS:
    case EINVAL:
        return Absence::Unsupported; // an attribute of a device that has no such property gives EINVAL
    case ETIMEDOUT:
    case EAGAIN: // nothing has come yet, or there was no thread to ask with
        return Absence::TimedOut;
    default:
        return Absence::Malformed;
    }
}

} // namespace zel
