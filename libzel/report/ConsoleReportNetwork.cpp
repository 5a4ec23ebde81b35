// Prints the interfaces of a sample, one line each.
#include "ConsoleReport.h"

#include "MM_NWT_Info.h"
#include "report/PrintableName.h"

#include <cstdio>

// The header names thirteen columns and the rows carry sixteen: programs that read the report know it so.
int print_nwt_info(CMM_NWT_Info *network, double elapsed) {
    if (network->fMGetNetworkStat(elapsed, -1) == nullptr)
        return -1;
    std::fprintf(stderr, "InterfaceName|LinkAlive|InPkt|OutPkt|InByte|OutByte|InErr|OutErr|InErrRate|OutErrRate|"
                         "Collisions|CollisionRate|PortRate\n");
    int number = 0;
    for (const _ST_NETWORK *row; (row = network->fMGetNetworkStatNext()) != nullptr;)
        std::fprintf(stderr, "%d|%s|%s|%3.2f|%3.2f|%3.2f|%3.2f|%3.2f|%3.2f|%3.2f|%3.2f|%3.2f|%3.2f|%3.6f|%3.6f|%3.6f\n",
                     ++number, zel::PrintableName(row->l_strIfName).text(), row->l_strLinkAlive, row->l_dInPkt,
                     row->l_dOutPkt, row->l_dInByte, row->l_dOutByte, row->l_dInErr, row->l_dOutErr, row->l_dInErrRate,
                     row->l_dOutErrRate, row->l_dCollisions, row->l_dCollisionRate, row->l_dPortRate,
                     row->l_dPortRxRate, row->l_dPortTxRate);
    return 1;
}
