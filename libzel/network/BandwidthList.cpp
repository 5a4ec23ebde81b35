// Entries of the bandwidth list and its message for missing memory.
#include "BandwidthList.h"

void BandwidthListTexts::allocationFailed(char (&message)[NAMED_LIST_ERROR_SIZE], int error) {
    std::snprintf(message, sizeof(message), "new node malloc error [%d]", error);
}

int CBandwidthList::fAddLinkedList(const char *name, long bandwidth, int duplex) {
    _ST_BANDWIDTH_LIST node{};
    if (!nameNode(name, node))
        return -1;
    node.m_lBandwidth = bandwidth;
    node.m_nDuplex = duplex;
    return fAddNode(&node);
}
