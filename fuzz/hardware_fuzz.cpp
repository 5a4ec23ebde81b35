// The hardware configuration file and the PCI list, as the inventory classes read them.
#include "Disk_Info.h"
#include "Ensure.h"
#include "FuzzTarget.h"
#include "NIC_Info.h"
#include "Pci_Info.h"
#include "RootOnTmpfs.h"
#include "Surroundings.h"
#include "hardware/ConfigFile.h"

FUZZ_TARGET(hardware_fuzz) {
    fuzz::freshSurroundings();
    std::string line = input.text();
    zel::ConfigField field{};
    if (zel::parseConfigLine(line.data(), field))
        fuzz::ensure(field.key == line.data() && field.value <= line.data() + line.size() && field.value > field.key,
                     "a field beyond its line");

    fuzz::root().host("etc/sysconfig/hwconf", input.piece());
    fuzz::root().host("proc/pci", input.piece());
    CNIC_Info adapters;
    CDisk_Info drives;
    CPci_Info devices;
    for (int reading = 0; reading < 2; ++reading) {
        const CNIC *nics = adapters.GetNICInfos();
        fuzz::ensure((nics == nullptr) == (adapters.NICNum() == 0), "a count without an array, or an array without");
        for (unsigned i = 0; i < adapters.NICNum(); ++i)
            fuzz::ensureTerminated(nics[i].m_cpModelName);
        const CCdrom *cdroms = drives.GetCdromInfo();
        for (unsigned i = 0; i < drives.CdromNum(); ++i)
            fuzz::ensureTerminated(cdroms[i].m_cpModelName);
        const CPci *modules = devices.GetPciInfo();
        for (unsigned i = 0; i < devices.PciNum(); ++i) {
            fuzz::ensureTerminated(modules[i].m_cpModuleType);
            fuzz::ensureTerminated(modules[i].m_cpModuleName);
        }
    }
}
