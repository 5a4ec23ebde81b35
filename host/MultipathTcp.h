// Multipath TCP: the line MPTcpExt of /proc/net/netstat (kernel 5.6 and later). Any user. Names: host/Transport.h.
#pragma once

#include "host/Schema.h"

namespace zel {

struct MultipathTcp {
    Count mpCapableSynRx;
    Count mpCapableSynTx;
    Count mpCapableSynackRx;
    Count mpCapableAckRx;
    Count mpCapableFallbackAck;
    Count mpCapableFallbackSynack;
    Count mpCapableSynTxDrop;
    Count mpCapableSynTxDisabled;
    Count mpCapableEndpAttempt;
    Count mpFallbackTokenInit;
    Count mptcpRetrans;
    Count mpJoinNoTokenFound;
    Count mpJoinSynRx;
    Count mpJoinSynBackupRx;
    Count mpJoinSynAckRx;
    Count mpJoinSynAckBackupRx;
    Count mpJoinSynAckHmacFailure;
    Count mpJoinAckRx;
    Count mpJoinAckHmacFailure;
    Count mpJoinRejected;
    Count mpJoinSynTx;
    Count mpJoinSynTxCreatSkErr;
    Count mpJoinSynTxBindErr;
    Count mpJoinSynTxConnectErr;
    Count dssNotMatching;
    Count dssCorruptionFallback;
    Count dssCorruptionReset;
    Count infiniteMapTx;
    Count infiniteMapRx;
    Count dssNoMatchTcp;
    Count dataCsumErr;
    Count ofoQueueTail;
    Count ofoQueue;
    Count ofoMerge;
    Count noDssInWindow;
    Count duplicateData;
    Count addAddr;
    Count addAddrTx;
    Count addAddrTxDrop;
    Count echoAdd;
    Count echoAddTx;
    Count echoAddTxDrop;
    Count portAdd;
    Count addAddrDrop;
    Count mpJoinPortSynRx;
    Count mpJoinPortSynAckRx;
    Count mpJoinPortAckRx;
    Count mismatchPortSynRx;
    Count mismatchPortAckRx;
    Count rmAddr;
    Count rmAddrDrop;
    Count rmAddrTx;
    Count rmAddrTxDrop;
    Count rmSubflow;
    Count mpPrioTx;
    Count mpPrioRx;
    Count mpFailTx;
    Count mpFailRx;
    Count mpFastcloseTx;
    Count mpFastcloseRx;
    Count mpRstTx;
    Count mpRstRx;
    Count rcvPruned;
    Count subflowStale;
    Count subflowRecover;
    Count sndWndShared;
    Count rcvWndShared;
    Count rcvWndConflictUpdate;
    Count rcvWndConflict;
    Count mpCurrEstab;
    Count blackhole;
    Count mpCapableDataFallback;
    Count md5SigFallback;
    Count dssFallback;
    Count simultConnectFallback;
    Count fallbackFailed;
    Count winProbe;
};

template<> std::span<const Field<MultipathTcp>> fieldsOf<MultipathTcp>();

} // namespace zel
