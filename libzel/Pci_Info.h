// CPci_Info: PCI devices of /proc/pci.
#pragma once

class CPci {
public:
    char *ModuleType() { return m_cpModuleType; }
    char *ModuleName() { return m_cpModuleName; }

    char m_cpModuleType[128] = {};
    char m_cpModuleName[128] = {};
};

class CPci_Info {
public:
    CPci *GetPciInfo() { return nullptr; }
    unsigned int PciNum() const { return m_nPciNum; }

    unsigned int m_nPciNum = 0;
    CPci *m_pclCPci = nullptr;
};
