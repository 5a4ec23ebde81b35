// Counts and describes the PCI devices.
#include "Pci_Info.h"

#include "SSUtil.h"
#include "hardware/ConfigFile.h"
#include "text/FixedText.h"

#include <cstring>

namespace {

constexpr const char *pciFile = "/proc/pci";
constexpr const char *deviceMark = "Bus";

struct ModuleLine {
    const char *type;
    const char *name;
};

// Sample:   Host bridge: Intel Corp. 440BX/ZX/DX - 82443BX/ZX/DX Host bridge (rev 1).
// Cuts `line`, whose leading blanks are gone already; false without a ":".
bool parseModuleLine(char *line, ModuleLine &module) {
    char *colon = std::strchr(line, ':');
    if (colon == nullptr)
        return false;
    *colon = '\0';
    char *name = CSSUtil::fSkipWs(colon + 1);
    name[std::strcspn(name, "\n")] = '\0';
    module = {line, name};
    return true;
}

// The line after one or more "Bus" lines describes a device, the lines after that say more about the same one.
void readModules(std::FILE *file, CPci *modules, unsigned count) {
    unsigned next = 0;
    bool afterMark = false;
    char line[zel::HARDWARE_LINE_SIZE];
    while (next < count && std::fgets(line, sizeof(line), file) != nullptr) {
        char *text = CSSUtil::fSkipWs(line);
        if (std::strncmp(text, deviceMark, std::strlen(deviceMark)) == 0) {
            afterMark = true;
            continue;
        }
        ModuleLine module{};
        if (afterMark && parseModuleLine(text, module)) {
            modules[next].ModuleType(module.type);
            modules[next].ModuleName(module.name);
            ++next;
        }
        afterMark = false;
    }
}

} // namespace

char *CPci::ModuleType(const char *type) {
    zel::setFixedText(m_cpModuleType, type);
    return m_cpModuleType;
}

char *CPci::ModuleName(const char *name) {
    zel::setFixedText(m_cpModuleName, name);
    return m_cpModuleName;
}

CPci_Info::~CPci_Info() {
    delete[] m_pclCPci;
}

unsigned int CPci_Info::GetPciNum() {
    m_nPciNum = zel::countLinesWith(pciFile, deviceMark);
    return m_nPciNum;
}

CPci *CPci_Info::GetPciInfo() {
    GetPciNum();
    const zel::ScopedFile file = zel::openHostStream(pciFile);
    if (file == nullptr)
        m_nPciNum = 0;
    zel::renewDevices(m_pclCPci, m_nPciNum);
    if (m_pclCPci != nullptr)
        readModules(file.get(), m_pclCPci, m_nPciNum);
    return m_pclCPci;
}

int CPci_Info::fSetCurrentPath(const char *path) {
    zel::setFixedText(m_strCurrentPath, path);
    return 1;
}
