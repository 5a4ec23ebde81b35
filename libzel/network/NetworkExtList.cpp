// Entries of the list of extra interfaces and its message for missing memory.
#include "NetworkExtList.h"

void NetworkExtListTexts::allocationFailed(char (&message)[NAMED_LIST_ERROR_SIZE], int error) {
    std::snprintf(message, sizeof(message), "[%d] %s", error, std::strerror(error));
}

int CNetworkExtList::fAddLinkedList(const char *name) {
    _ST_NETWORKEXT_LIST node{};
    return nameNode(name, node) ? fAddNode(&node) : -1;
}
