// CPci_Info: the PCI devices of /proc/pci, which kernels up to 2.6.8 write.
//
// Nothing is read before the first call. A missing file gives a count of 0 and a null array; nothing is logged. The
// array belongs to the reader and stays valid until the next GetPciInfo or the reader's end. Not thread-safe.
#pragma once

#include "HardwareConfig.h"

inline constexpr std::size_t PCI_TEXT_SIZE = 128;
inline constexpr std::size_t PCI_SLOT_SIZE = 10;

/// A PCI device: "Host bridge" is a type, "Intel Corp. 440BX/ZX" a name.
class CPci {
public:
    char *ModuleType() { return m_cpModuleType; }
    char *ModuleName() { return m_cpModuleName; }
    /// Set the text, cut to its field, and return the field.
    char *ModuleType(const char *type);
    char *ModuleName(const char *name);

    char m_cpModuleType[PCI_TEXT_SIZE] = {};
    char m_cpModuleName[PCI_TEXT_SIZE] = {};
    char m_cpSlot[PCI_SLOT_SIZE] = {}; // never filled, as is the next
    int m_nSlotNum = 0;
};

class CPci_Info {
public:
    CPci_Info() = default;
    ~CPci_Info();

    CPci_Info(const CPci_Info &) = delete;
    CPci_Info &operator=(const CPci_Info &) = delete;

    /// Counts the lines that hold "Bus", one per device; also in m_nPciNum.
    unsigned int GetPciNum();
    /// Rebuilds the array, one object per counted line, filled in order of appearance; an object may stay empty.
    /// Returns the array, null when there are none.
    CPci *GetPciInfo();
    /// The last count.
    unsigned int PciNum() const { return m_nPciNum; }

    /// Keeps a path for embedding programs; the reader does not use it. Returns 1.
    int fSetCurrentPath(const char *path);

    unsigned int m_nPciNum = 0;
    char m_strCurrentPath[zel::HARDWARE_PATH_SIZE] = {};
    CPci *m_pclCPci = nullptr;
};
