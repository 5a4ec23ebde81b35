// The files of Fibre Channel ports, two gathers over two ports, and the card and port inventories.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "MM_HBA_Info.h"
#include "RootOnTmpfs.h"
#include "Surroundings.h"

#include <cstring>
#include <memory>

namespace {

void takePort(fuzz::FuzzedInput &input, const std::string &name) {
    for (const char *file :
         {"port_name", "port_state", "statistics/fcp_input_megabytes", "statistics/fcp_output_megabytes",
          "statistics/fcp_input_requests", "statistics/fcp_output_requests"})
        fuzz::root().host("sys/class/fc_host/" + name + "/" + file, input.piece());
}

} // namespace

FUZZ_TARGET(hba_fuzz) {
    fuzz::freshSurroundings();
    const unsigned options = input.byte();
    const auto collector = std::make_unique<CMM_HBA_Info>();
    for (int sample = 0; sample < 3; ++sample) {
        fuzz::root().moment(sample);
        takePort(input, "host3");
        takePort(input, "host4");
        fuzz::passTime((options & 1) != 0 ? 0 : 3);
        collector->fGatherHBAZel();
        fuzz::ensure(collector->m_nHBACount <= 2, "more rows than ports");
        fuzz::ensureTable(collector->m_const_pstrHBAZelInfo, collector->m_nHBACount,
                          {"PORT_WWN", "NAME", "PORT_STATUS"});
    }
    const std::string name = input.text();
    char text[HBA_TEXT_SIZE] = {};
    CMM_HBA_Info::fWWNtoString(name.c_str(), text);
    CMM_HBA_Info::fWWNtoString(name.c_str(), text);
    fuzz::ensureTerminated(text);
    fuzz::root().home("aproc/shell/HBACardINVStrInfo.dat", input.piece());
    fuzz::root().home("aproc/shell/HBAPortINVStrInfo.dat", input.piece());
    collector->fGatherHBACardInv();
    collector->fGatherHBAPortInv();
    fuzz::ensure(std::strlen(collector->m_pStrHBACardINV) < static_cast<std::size_t>(collector->m_nHBACardINVSize),
                 "the inventory text is larger than its buffer");
}
