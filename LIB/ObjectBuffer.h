// CObjectBuffer: a table of objects under text keys, each also reachable by a number.
//
// Every entry has an index from 1 on, the smallest that is free when the entry is made. Keys are copied and owned; the
// objects stay the caller's, who frees them before or after they are removed here. Not thread-safe.
#pragma once

#include "ObjectList.h"

#include <memory>

namespace zel {
struct ObjectBufferState;
}

class CObjectBuffer {
public:
    CObjectBuffer();
    ~CObjectBuffer();

    CObjectBuffer(const CObjectBuffer &) = delete;
    CObjectBuffer &operator=(const CObjectBuffer &) = delete;

    /// Adds `object` under a copy of `key`, also when the key is there already: look-ups then find the earlier entry.
    /// Returns its index, or 0 for a null key or without memory.
    int fObjectPut(const char *key, void *object);

    /// The index that the next entry gets: the smallest unused one. The argument is not used.
    int fGetPutIndex(const char *key);

    /// Number of entries.
    int fGetSize() const { return static_cast<int>(m_pcllKeyTable->fGetNodeCnt()); }

    /// The object of the first entry with `key`, or of `index`; null when there is none. The look-up by key moves
    /// the cursor of the key table.
    void *fGetObject(const char *key);
    void *fGetObject(int index);
    /// The key of `index` or null.
    char *fGetObjectKey(int index) const;

    /// Replaces the object of an entry and returns the new one; null when there is no such entry.
    void *fSetObject(const char *key, void *object);
    void *fSetObject(int index, void *object);

    /// Removes the first entry with `key`: 1, or 0 when there is none. The object is not freed.
    int fObjectRemove(const char *key);

    /// Removes every entry and returns 1. The objects are not freed. The memory of the entries serves later ones.
    int fFreeObjects();

    CObjectList *m_pcllData;     // index -> object; owned
    CObjectList *m_pcllKeyTable; // index -> owned copy of the key; owned

private:
    std::unique_ptr<zel::ObjectBufferState> m_state;
};
