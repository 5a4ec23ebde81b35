// Two passes of the network collector in each of its forms, with what its scripts wrote about bandwidth and duplex, the
// bonding files, and the inventory that adds interfaces.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "MM_NWT_Info.h"
#include "RootOnTmpfs.h"
#include "Settings.h"
#include "Surroundings.h"

#include <cmath>
#include <memory>

namespace {

void ensureResults(CMM_NWT_Info &collector) {
    while (const _ST_NETWORK *result = collector.fMGetNetworkStatNext()) {
        fuzz::ensureTerminated(result->l_strIfName);
        fuzz::ensureTerminated(result->l_strLinkAlive);
        for (const double value : {result->l_dInPkt, result->l_dOutPkt, result->l_dInByte, result->l_dOutByte,
                                   result->l_dInErr, result->l_dOutErr, result->l_dPortRate})
            fuzz::ensure(!std::isnan(value), "a rate that is no number");
    }
}

void pass(CMM_NWT_Info &collector, int push) {
    if (collector.fMGetVelmorNetworkStat(push) == nullptr)
        return;
    ensureResults(collector);
    if (g_nInterfaceStrType != 1)
        return;
    if (push < 1)
        fuzz::ensureTable(collector.m_pstrNetworkInfo, collector.m_nInterfaceZELCnt, {"NAME"});
    else
        fuzz::ensurePushTable(collector.m_pstrNetworkInfo, collector.m_nInterfaceZELCnt, {"NAME"});
}

} // namespace

FUZZ_TARGET(network_fuzz) {
    fuzz::freshSurroundings();
    const unsigned options = input.byte();
    g_nInterfaceStrType = static_cast<int>(options & 3);
    g_nNetworkExtGather = (options & 4) != 0 ? 1 : 0;
    g_nLinuxBandwidthFlag = (options & 8) != 0 ? 0 : 1;
    const int push = static_cast<int>(options >> 4 & 3) - 1;

    fuzz::root().moment(0);
    fuzz::root().home("aproc/shell/IFName_bandwidth.dat", input.piece());
    fuzz::root().home("aproc/shell/IFName.dat", input.piece());
    const std::string measured = input.piece();
    for (const char *name : {"eth0", "bond0", "bond0.100"})
        fuzz::root().home(std::string("aproc/shell/BandWidth_") + name + ".dat", measured);
    fuzz::root().host("proc/net/bonding/bond0", input.piece());
    fuzz::root().home("aproc/shell/InterfaceINVStrInfo.dat", input.piece());
    fuzz::root().home("aproc/shell/InterfaceINVNewStrInfo.dat", input.piece());

    const auto collector = std::make_unique<CMM_NWT_Info>();
    if ((options & 64) != 0)
        collector->fGetNewBandwidth();
    if (g_nInterfaceStrType == 1) {
        collector->fGetInterfaceINV();
        collector->fGetInterfaceNewINV();
        collector->fInterfaceChangeCheck();
    }
    for (int sample = 0; sample < 3; ++sample) {
        fuzz::root().moment(sample);
        fuzz::root().host("proc/net/dev", input.piece());
        fuzz::passTime((options & 128) != 0 ? 0 : 1);
        pass(*collector, push);
    }
    const std::string name = input.text();
    fuzz::root().home("aproc/shell/DuplexLinux.dat", input.piece());
    if ((options & 64) != 0)
        fuzz::passTime(2500000000); // the answer is old: the script is asked again
    char duplex[12] = {};
    if (fGetDuplex(name.c_str(), duplex) == 1)
        fuzz::ensure(std::string(duplex) == "Full Duplex" || std::string(duplex) == "Half Duplex", "no duplex word");
    char slave[NAMED_LIST_NAME_SIZE] = {};
    collector->fGetBondInfo("bond0", slave);
    fuzz::ensureTerminated(slave);
}
