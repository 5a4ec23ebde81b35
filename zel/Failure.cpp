// Says what could not be read.
#include "zel/Failure.h"

#include <cstring>

namespace zel {

namespace {

constexpr std::string_view processes = "proc"; // the one directory of all that is read from the root alone

} // namespace

std::string failedFile(const std::string &root, const std::string &file) {
    const bool isPath = file.find('/') != std::string::npos || file == processes;
    return isPath && !file.starts_with('/') ? root + '/' + file : file;
}

std::string errorText(int error) {
    const char *const reason = error == 0 ? nullptr : strerrordesc_np(error);
    const char *const name = error == 0 ? nullptr : strerrorname_np(error);
    return reason == nullptr || name == nullptr ? "" : std::string(reason) + " (" + name + ')';
}

std::string failureText(std::string_view what, const std::string &root, const AreaState &state) {
    if (!state.asked || (state.error == 0 && state.absence == Absence::None))
        return {};
    std::string text(what);
    if (!state.file.empty())
        text += ": " + failedFile(root, state.file);
    const std::string error = errorText(state.error);
    return text + ": " + (error.empty() ? std::string(absenceName(state.absence)) : error);
}

} // namespace zel
