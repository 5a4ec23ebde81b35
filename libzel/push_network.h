// push_network: the walk of network once more, on a state of its own, for passes that build push texts.
#pragma once

#include "network.h"

// State of the walk, as in network.h.
extern std::FILE *push_fh;
extern interface *push_ife;
extern int push_procnetdev_vsn;
extern int l_nPushskfd;

/// The contracts of init_netinfo, get_next_netinfo, fin_netinfo and fWrite_Msg.
int init_push_netinfo();
int get_push_next_netinfo(char *name, char *link, unsigned long long *rx_packets, unsigned long long *tx_packets,
                          unsigned long long *rx_bytes, unsigned long long *tx_bytes, unsigned long long *rx_errors,
                          unsigned long long *tx_errors, unsigned long long *collisions, unsigned long long *spare);
int fin_push_netinfo();
int fPushWrite_Msg(const char *message);
