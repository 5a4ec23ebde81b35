// The NFS mounts and the counters of NFS as the typed model reads them, at two moments.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "HostArea.h"

#include <cmath>

namespace {

template<class Row> bool hasItsMount(const zel::Sample &sample, const Row &row) {
    for (const zel::NfsMount &mount : sample.nfsMounts) {
        if (mount.device == row.device && mount.mountPoint == row.mountPoint && mount.type == row.type)
            return true;
    }
    return false;
}

void ensureMounts(const zel::Sample &sample) {
    for (const zel::NfsOperation &operation : sample.nfsOperations)
        fuzz::ensure(hasItsMount(sample, operation), "an operation without a mount");
    for (const zel::NfsTransport &transport : sample.nfsTransports)
        fuzz::ensure(hasItsMount(sample, transport), "a connection without a mount");
}

template<class Row> void ensureNumbers(const zel::Rows<Row> &rows) {
    for (const Row &row : rows) {
        for (const auto &field : zel::fieldsOf<Row>()) {
            const zel::Value value = field.of(row);
            fuzz::ensure(value.type() != zel::Value::Type::Real ||
                             (std::isfinite(value.asReal()) && value.asReal() >= 0),
                         "a rate that cannot be");
        }
    }
}

} // namespace

FUZZ_TARGET(host_nfs_fuzz) {
    fuzz::HostArea area(zel::Area::Nfs, zel::nfsReader());
    for (int moment = 0; moment < 2; ++moment) {
        fuzz::hostFile("proc/self/mountstats", input);
        fuzz::hostFile("proc/net/rpc/nfs", input);
        fuzz::hostFile("proc/net/rpc/nfsd", input);
        ensureMounts(area.take());
        ensureNumbers(area.rates().nfsMounts);
        ensureNumbers(area.rates().nfsOperations);
        ensureNumbers(area.rates().nfsTransports);
    }
}
