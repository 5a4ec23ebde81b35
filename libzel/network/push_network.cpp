// The walk of passes that build push texts.
#include "push_network.h"

#include "network/InterfaceReader.h"
#include "network/Readers.h"

std::FILE *push_fh;
interface *push_ife;
int push_procnetdev_vsn = INTERFACE_LAYOUT_PACKETS;
int l_nPushskfd = -1;

namespace {

zel::InterfaceReader reader(push_fh, push_ife, push_procnetdev_vsn, l_nPushskfd, fPushWrite_Msg);

} // namespace

zel::InterfaceReader &zel::pushReader() {
    return reader;
}

int init_push_netinfo() {
    return reader.open();
}

int get_push_next_netinfo(char *name, char *link, unsigned long long *rx_packets, unsigned long long *tx_packets,
                          unsigned long long *rx_bytes, unsigned long long *tx_bytes, unsigned long long *rx_errors,
                          unsigned long long *tx_errors, unsigned long long *collisions, unsigned long long *) {
    return zel::deliverInterface(reader.next(), name, link, rx_packets, tx_packets, rx_bytes, tx_bytes, rx_errors,
                                 tx_errors, collisions);
}

int fin_push_netinfo() {
    return reader.close();
}

int fPushWrite_Msg(const char *) {
    return 1;
}
