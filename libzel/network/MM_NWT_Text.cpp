// The columns of the interface text, and how its header and its rows are written.
#include "network/MM_NWT_Text.h"

#include "MM_NWT_Info.h"
#include "Settings.h"
#include "perftext/ColumnTable.h"
#include "rates/Growth.h"
#include "rates/Units.h"

#include <limits>
#include <string_view>

namespace {

constexpr std::string_view metricCode = "4.6.7.0";
constexpr std::string_view noValue = "-";

// Above its ceiling a value counts as nonsense and is written as -1.
constexpr double packetCeiling = 1000000000;
constexpr double kilobyteCeiling = 1500000;
constexpr double percentCeiling = 100;
constexpr double noCeiling = std::numeric_limits<double>::infinity();
constexpr double nonsense = -1.0;

double clamped(double value, double ceiling) {
    const double raised = zel::notBelowZero(value);
    return raised > ceiling ? nonsense : raised;
}

using Value = double _ST_NETWORK::*;

constexpr auto clampedTo(double ceiling, Value value) {
    return [ceiling, value](const _ST_NETWORK &result) { return clamped(result.*value, ceiling); };
}

constexpr auto kilobytes(Value value) {
    return [value](const _ST_NETWORK &result) {
        return clamped(result.*value * zel::KILOBYTES_PER_BYTE, kilobyteCeiling);
    };
}

// What every row says about its interface.
struct RowKey {
    int index;
    const char *name;
    int linkAlive;
};

constexpr zel::ColumnTable keyColumns{
    zel::Column{"INDEX", &RowKey::index},
    zel::Column{"NAME", &RowKey::name},
    zel::Column{"LINK", &RowKey::linkAlive},
};

// What a row says when the interface was measured.
constexpr zel::ColumnTable valueColumns{
    zel::Column{"INPKT", clampedTo(packetCeiling, &_ST_NETWORK::l_dInPkt)},
    zel::Column{"OUTPKT", clampedTo(packetCeiling, &_ST_NETWORK::l_dOutPkt)},
    zel::Column{"INBYTE", kilobytes(&_ST_NETWORK::l_dInByte)},
    zel::Column{"OUTBYTE", kilobytes(&_ST_NETWORK::l_dOutByte)},
    zel::Column{"INERR", clampedTo(noCeiling, &_ST_NETWORK::l_dInErr)},
    zel::Column{"OUTERR", clampedTo(noCeiling, &_ST_NETWORK::l_dOutErr)},
    zel::Column{"INERRRATE", clampedTo(percentCeiling, &_ST_NETWORK::l_dInErrRate)},
    zel::Column{"OUTERRRATE", clampedTo(percentCeiling, &_ST_NETWORK::l_dOutErrRate)},
    zel::Column{"COLLISION", clampedTo(noCeiling, &_ST_NETWORK::l_dCollisions)},
    zel::Column{"COLLISIONRATE", clampedTo(percentCeiling, &_ST_NETWORK::l_dCollisionRate)},
    zel::Column{"RATE", clampedTo(percentCeiling, &_ST_NETWORK::l_dPortRate)},
    zel::Column{"RXRATE", clampedTo(percentCeiling, &_ST_NETWORK::l_dPortRxRate)},
    zel::Column{"TXRATE", clampedTo(percentCeiling, &_ST_NETWORK::l_dPortTxRate)},
};

// The text may move: the pointer of an earlier pass follows it, whether or not this pass succeeds.
void appendText(CMM_NWT_Info &collector, std::string_view text) {
    collector.g_stringNetwork.append(text);
    if (collector.m_pstrNetworkInfo != nullptr)
        collector.m_pstrNetworkInfo = collector.g_stringNetwork.c_str();
}

// `writeValues` writes the columns that follow the key.
template<class WriteValues>
bool appendRow(CMM_NWT_Info &collector, const char *name, int linkAlive, WriteValues writeValues) {
    CPerfText row(collector.m_pStrInterfaceZEL, collector.m_nInterfaceZELSize);
    row.clear();
    row.beginRow();
    keyColumns.writeFields(row, RowKey{collector.m_nInterfaceZELCnt + 1, name, linkAlive});
    writeValues(row);
    if (row.incomplete())
        return false;
    appendText(collector, row.view());
    ++collector.m_nInterfaceZELCnt;
    return true;
}

} // namespace

namespace zel {

bool appendInterfaceHeader(CMM_NWT_Info &collector, int push) {
    CPerfText header(collector.m_pStrInterfaceZEL, collector.m_nInterfaceZELSize);
    header.clear();
    if (push >= 1) {
        header.agentKey(g_ptrAgentKey);
        header.tableMetric(metricCode);
    }
    keyColumns.writeHeader(header);
    valueColumns.writeHeader(header);
    if (header.incomplete())
        return false;
    appendText(collector, header.view());
    return true;
}

bool appendInterfaceRow(CMM_NWT_Info &collector, const _ST_NETWORK &result, int linkAlive) {
    return appendRow(collector, result.l_strIfName, linkAlive,
                     [&result](CPerfText &row) { valueColumns.writeFields(row, result); });
}

bool appendPlaceholderRow(CMM_NWT_Info &collector, const char *name, int linkAlive) {
    return appendRow(collector, name, linkAlive, [](CPerfText &row) {
        for (std::size_t column = 0; column < valueColumns.size(); ++column)
            row.field(noValue);
    });
}

} // namespace zel
