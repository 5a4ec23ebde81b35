// The table of objects under text keys, on two lists with the same indexes.
#include "ObjectBuffer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <new>
#include <vector>

struct zel::ObjectBufferState {
    int lowestFree = 1;            // no index below it is free
    std::vector<char *> spareKeys; // of entries that fFreeObjects removed, the one to be used next at the end
};

namespace {

void *dataOf(const ST_OBJECTLIST_LNKLST_ *node) {
    return node == nullptr ? nullptr : node->m_pvdData;
}

// A buffer that is emptied and filled again mostly gets the same keys in the same order.
char *copyOf(zel::ObjectBufferState &state, const char *key) {
    const std::size_t size = std::strlen(key) + 1;
    char *copy = nullptr;
    if (!state.spareKeys.empty()) {
        copy = state.spareKeys.back();
        state.spareKeys.pop_back();
        if (malloc_usable_size(copy) < size) {
            std::free(copy);
            copy = nullptr;
        }
    }
    if (copy == nullptr)
        copy = static_cast<char *>(std::malloc(size));
    if (copy != nullptr)
        std::memcpy(copy, key, size);
    return copy;
}

void freeSpareKeys(zel::ObjectBufferState &state) {
    for (char *key : state.spareKeys)
        std::free(key);
    state.spareKeys.clear();
}

// The first entry of the key table with `key`. Moves the cursor.
ST_OBJECTLIST_LNKLST_ *entryOfKey(CObjectList &keys, const char *key) {
    if (key == nullptr)
        return nullptr;
    keys.fMoveFirst();
    while (ST_OBJECTLIST_LNKLST_ *node = keys.fMoveNext()) {
        const char *held = static_cast<const char *>(node->m_pvdData);
        if (held != nullptr && std::strcmp(held, key) == 0)
            return node;
    }
    return nullptr;
}

} // namespace

CObjectBuffer::CObjectBuffer()
    : m_pcllData(new CObjectList(OBJECTLIST_APPEND)), m_pcllKeyTable(new CObjectList(OBJECTLIST_APPEND)),
      m_state(std::make_unique<zel::ObjectBufferState>()) {}

CObjectBuffer::~CObjectBuffer() {
    fFreeObjects();
    freeSpareKeys(*m_state);
    delete m_pcllData;
    delete m_pcllKeyTable;
}

int CObjectBuffer::fObjectPut(const char *key, void *object) {
    if (key == nullptr)
        return 0;
    char *keyCopy = copyOf(*m_state, key);
    if (keyCopy == nullptr)
        return 0;
    const int index = fGetPutIndex(key);
    const ST_OBJECTLIST_LNKLST_ keyNode{index, keyCopy, nullptr, nullptr};
    const ST_OBJECTLIST_LNKLST_ dataNode{index, object, nullptr, nullptr};
    if (m_pcllKeyTable->fAddNode(&keyNode) != 1) {
        std::free(keyCopy);
        return 0;
    }
    if (m_pcllData->fAddNode(&dataNode) != 1) {
        m_pcllKeyTable->fDeleteNode(index);
        std::free(keyCopy);
        return 0;
    }
    m_state->lowestFree = index + 1;
    return index;
}

// The search goes on where the last one ended: entries made one after the other cost no walk.
int CObjectBuffer::fGetPutIndex(const char *) {
    const int size = fGetSize();
    if (m_state->lowestFree > size + 1) // nodes were taken from the key table past the buffer
        m_state->lowestFree = 1;
    while (m_state->lowestFree <= size && m_pcllKeyTable->fGetNode(m_state->lowestFree) != nullptr)
        ++m_state->lowestFree;
    return m_state->lowestFree;
}

void *CObjectBuffer::fGetObject(const char *key) {
    const ST_OBJECTLIST_LNKLST_ *entry = entryOfKey(*m_pcllKeyTable, key);
    return entry == nullptr ? nullptr : fGetObject(entry->m_nIndex);
}

void *CObjectBuffer::fGetObject(int index) {
    return dataOf(m_pcllData->findUnique(index));
}

char *CObjectBuffer::fGetObjectKey(int index) const {
    return static_cast<char *>(dataOf(m_pcllKeyTable->fGetNode(index)));
}

void *CObjectBuffer::fSetObject(const char *key, void *object) {
    const ST_OBJECTLIST_LNKLST_ *entry = entryOfKey(*m_pcllKeyTable, key);
    return entry == nullptr ? nullptr : fSetObject(entry->m_nIndex, object);
}

void *CObjectBuffer::fSetObject(int index, void *object) {
    ST_OBJECTLIST_LNKLST_ *node = m_pcllData->fGetNode(index);
    if (node == nullptr)
        return nullptr;
    node->m_pvdData = object;
    return object;
}

int CObjectBuffer::fObjectRemove(const char *key) {
    ST_OBJECTLIST_LNKLST_ *entry = entryOfKey(*m_pcllKeyTable, key);
    if (entry == nullptr)
        return 0;
    const int index = entry->m_nIndex;
    std::free(entry->m_pvdData);
    m_pcllKeyTable->fDeleteNode(index);
    m_pcllData->fDeleteNode(index);
    m_state->lowestFree = std::min(m_state->lowestFree, index);
    return 1;
}

int CObjectBuffer::fFreeObjects() {
    freeSpareKeys(*m_state);
    try {
        m_state->spareKeys.reserve(static_cast<std::size_t>(std::max(fGetSize(), 0)));
    } catch (const std::bad_alloc &) { // those that there is no place for are freed
    }
    for (const auto *node = m_pcllKeyTable->fGetEndNode(); node != nullptr; node = node->m_pstPrev) {
        if (node->m_pvdData != nullptr && m_state->spareKeys.size() < m_state->spareKeys.capacity())
            m_state->spareKeys.push_back(static_cast<char *>(node->m_pvdData));
        else
            std::free(node->m_pvdData);
    }
    m_pcllKeyTable->fFreeAll();
    m_pcllData->fFreeAll();
    m_state->lowestFree = 1;
    return 1;
}
