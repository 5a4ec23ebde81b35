// Says what could not be read.
#include "zel/Failure.h"

#include <cstring>

namespace zel {

std::string failureText(std::string_view what, const std::string &root, const AreaState &state) {
    if (!state.asked || (state.error == 0 && state.absence == Absence::None))
        return {};
    std::string text(what);
    if (!state.file.empty())
        text += ": " + (state.file[0] == '/' ? "" : root + '/') + state.file;
    const char *const reason = state.error == 0 ? nullptr : strerrordesc_np(state.error);
    const char *const name = state.error == 0 ? nullptr : strerrorname_np(state.error);
    if (reason != nullptr && name != nullptr)
        return text + ": " + reason + " (" + name + ')';
    return text + ": " + std::string(absenceName(state.absence));
}

} // namespace zel
