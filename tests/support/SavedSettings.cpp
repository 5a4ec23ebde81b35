// Lists the settings, saves their start values and sets them again.
#include "SavedSettings.h"

#include "HostRoot.h"
#include "LogGate.h"
#include "NCmdScheduler.h"
#include "NGFunctions.h"

#include <cstring>

namespace {

// The watchdog's are left out: its thread, which no test ends, reads them.
std::vector<Setting> &settings() {
    static std::vector<Setting> all = {
        SETTING(g_strHostRoot),     SETTING(g_pclVornLog),    SETTING(g_pclCCmdScheduler),
        SETTING(g_nPrint),          SETTING(g_nLogModERROR),  SETTING(g_nLoggingERROR1),
        SETTING(g_nLoggingERROR2),  SETTING(g_nLogModNORMAL), SETTING(g_nLoggingNORMAL1),
        SETTING(g_nLoggingNORMAL2), SETTING(g_nLogModDEBUG),  SETTING(g_nLoggingDEBUG1),
        SETTING(g_nLoggingDEBUG2),  SETTING(g_nIPv6Flag),     SETTING(g_nDataBufferSaveMaxSize),
        SETTING(g_nCmdSync),
    };
    return all;
}

} // namespace

const std::vector<Setting> &knownSettings() {
    return settings();
}

KnownSettings::KnownSettings(const std::vector<Setting> &more) {
    settings().insert(settings().end(), more.begin(), more.end());
}

SavedSettings::SavedSettings() {
    for (const Setting &setting : settings()) {
        const char *bytes = static_cast<const char *>(setting.place);
        m_values.emplace_back(bytes, bytes + setting.size);
    }
}

// A setting that is as it was is not written: a thread that a test left may read it.
SavedSettings::~SavedSettings() {
    for (std::size_t i = 0; i < m_values.size(); ++i) {
        const Setting &setting = settings()[i];
        if (std::memcmp(setting.place, m_values[i].data(), setting.size) != 0)
            std::memcpy(setting.place, m_values[i].data(), setting.size);
    }
}
