// Reads the hardware configuration file.
#include "hardware/ConfigFile.h"

#include "SSUtil.h"

#include <cstring>

namespace zel {

namespace {

constexpr std::size_t countedPieceSize = 256;

bool beginsWith(const char *text, const char *prefix) {
    return std::strncmp(text, prefix, std::strlen(prefix)) == 0;
}

} // namespace

unsigned countLinesWith(const char *path, const char *text) {
    const ScopedFile file = openHostStream(path);
    if (file == nullptr)
        return 0;
    unsigned count = 0;
    char piece[countedPieceSize];
    while (std::fgets(piece, sizeof(piece), file.get()) != nullptr) {
        if (std::strstr(piece, text) != nullptr)
            ++count;
    }
    return count;
}

// Sample: desc: "Intel Corp.|82545EM Gigabit Ethernet Controller"
bool parseConfigLine(char *line, ConfigField &field) {
    char *colon = std::strchr(line, ':');
    if (colon == nullptr)
        return false;
    *colon = '\0';
    char *value = CSSUtil::fSkipWs(colon + 1);
    value[std::strcspn(value, "\n")] = '\0';
    if (std::strchr(value, '"') != nullptr) {
        ++value;
        value[std::strcspn(value, "\"")] = '\0';
    }
    field = {line, value};
    return true;
}

bool DeviceRecords::take(char *line) {
    ConfigField field{};
    if (!parseConfigLine(line, field))
        return false;
    if (beginsWith(field.key, "class"))
        beginRecord(field.value);
    if (!m_selected || !beginsWith(field.key, "desc"))
        return false;
    m_named = true;
    m_index = m_nextIndex++;
    m_model = field.value;
    return true;
}

void DeviceRecords::beginRecord(const char *deviceClass) {
    if (m_selected && !m_named)
        ++m_nextIndex;
    m_selected = beginsWith(deviceClass, m_deviceClass);
    m_named = false;
}

} // namespace zel
