// The file /proc/stat of a VM collector, which may be longer than its room.
#include "memory/VmFiles.h"

namespace {

bool holdsSwitches(std::string_view stat) {
    const std::size_t key = stat.find("ctxt ");
    return key != std::string_view::npos && stat.find('\n', key) != std::string_view::npos;
}

} // namespace

std::string_view zel::VmFiles::stat() {
    const std::string_view text = m_stat.read().text;
    if (!m_stat.fills(text) || holdsSwitches(text))
        return text;
    return m_wholeStat.read("/proc/stat") ? m_wholeStat.text() : std::string_view();
}
