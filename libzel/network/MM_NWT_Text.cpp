// The performance text of CMM_NWT_Info: header, measured rows, rows of extra interfaces.
#include "MM_NWT_Info.h"
#include "Settings.h"

#include <algorithm>
#include <limits>
#include <string_view>

namespace {

constexpr std::string_view metricCode = "4.6.7.0";

constexpr std::string_view columns[] = {"INDEX",         "NAME",  "LINK",   "INPKT",     "OUTPKT",     "INBYTE",
                                        "OUTBYTE",       "INERR", "OUTERR", "INERRRATE", "OUTERRRATE", "COLLISION",
                                        "COLLISIONRATE", "RATE",  "RXRATE", "TXRATE"};

constexpr double kilobytesPerByte = 0.0009765625;

// Above its ceiling a value counts as nonsense and is written as -1.
constexpr double packetCeiling = 1000000000;
constexpr double kilobyteCeiling = 1500000;
constexpr double percentCeiling = 100;
constexpr double noCeiling = std::numeric_limits<double>::infinity();
constexpr double nonsense = -1.0;

double clamped(double value, double ceiling) {
    const double raised = std::max(0.0, value);
    return raised > ceiling ? nonsense : raised;
}

} // namespace

// The text may move: the pointer of an earlier pass follows it, whether or not this pass succeeds.
void CMM_NWT_Info::appendText(std::string_view text) {
    g_stringNetwork.append(text);
    if (m_pstrNetworkInfo != nullptr)
        m_pstrNetworkInfo = g_stringNetwork.c_str();
}

bool CMM_NWT_Info::appendHeader(int push) {
    CPerfText header(m_pStrInterfaceZEL, m_nInterfaceZELSize);
    header.clear();
    if (push >= 1) {
        header.agentKey(g_ptrAgentKey);
        header.tableMetric(metricCode);
    }
    for (const std::string_view name : columns)
        header.column(name);
    if (header.incomplete())
        return false;
    appendText(header.view());
    return true;
}

// False when memory was too short for the row: it is left out whole.
bool CMM_NWT_Info::appendRow(const _ST_NETWORK &result) {
    CPerfText row(m_pStrInterfaceZEL, m_nInterfaceZELSize);
    row.clear();
    row.beginRow();
    row.field(m_nInterfaceZELCnt + 1);
    row.field(result.l_strIfName);
    row.field(fGetLinkAlive(result.l_strIfName));
    row.field(clamped(result.l_dInPkt, packetCeiling));
    row.field(clamped(result.l_dOutPkt, packetCeiling));
    row.field(clamped(result.l_dInByte * kilobytesPerByte, kilobyteCeiling));
    row.field(clamped(result.l_dOutByte * kilobytesPerByte, kilobyteCeiling));
    row.field(clamped(result.l_dInErr, noCeiling));
    row.field(clamped(result.l_dOutErr, noCeiling));
    row.field(clamped(result.l_dInErrRate, percentCeiling));
    row.field(clamped(result.l_dOutErrRate, percentCeiling));
    row.field(clamped(result.l_dCollisions, noCeiling));
    row.field(clamped(result.l_dCollisionRate, percentCeiling));
    row.field(clamped(result.l_dPortRate, percentCeiling));
    row.field(clamped(result.l_dPortRxRate, percentCeiling));
    row.field(clamped(result.l_dPortTxRate, percentCeiling));
    if (row.incomplete())
        return false;
    appendText(row.view());
    ++m_nInterfaceZELCnt;
    return true;
}
