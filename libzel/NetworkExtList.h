// CNetworkExtList: the interfaces that the performance text reports even when the kernel does not list them.
// Operations, ownership and failures: NamedList.
#pragma once

#include "NamedList.h"

struct _ST_NETWORKEXT_LIST {
    char m_strIFName[NAMED_LIST_NAME_SIZE];
    int m_nZELFlag; // 1 once a traffic pass reported the interface
    _ST_NETWORKEXT_LIST *m_pstNext;
    _ST_NETWORKEXT_LIST *m_pstPrev;
};

struct NetworkExtListTexts {
    static void allocationFailed(char (&message)[NAMED_LIST_ERROR_SIZE], int error);
};

class CNetworkExtList : public NamedList<_ST_NETWORKEXT_LIST, NetworkExtListTexts> {
public:
    /// Adds an interface that was not reported yet (NamedList::fAddNode). A null or empty name prints a line on
    /// standard output and returns -1.
    int fAddLinkedList(const char *name);
};
