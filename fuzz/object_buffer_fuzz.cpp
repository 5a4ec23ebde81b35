// CObjectBuffer and the lists by interface name under any sequence of operations, beside standard containers.
#include "BandwidthList.h"
#include "Ensure.h"
#include "FuzzTarget.h"
#include "ObjectBuffer.h"

#include <algorithm>
#include <list>
#include <string>

namespace {

struct Entry {
    int index;
    std::string key;
    void *object;
};

using Entries = std::list<Entry>; // in the order in which they were made

int smallestFree(const Entries &model) {
    int index = 1;
    while (std::any_of(model.begin(), model.end(), [index](const Entry &entry) { return entry.index == index; }))
        ++index;
    return index;
}

// The earliest entry with `key`.
Entries::iterator entryOf(Entries &model, const std::string &key) {
    return std::find_if(model.begin(), model.end(), [&](const Entry &entry) { return entry.key == key; });
}

void ensureObjects(fuzz::FuzzedInput &input) {
    CObjectBuffer buffer;
    Entries model;
    char objects[256];
    for (int step = 0; !input.atEnd() && step < 100; ++step) {
        const unsigned operation = input.byte();
        void *object = objects + operation;
        const std::string key(1 + (operation & 1), static_cast<char>('a' + (operation >> 4 & 3)));
        const auto found = entryOf(model, key);
        switch (operation % 5) {
        case 0:
        case 1: {
            const int index = smallestFree(model);
            fuzz::ensure(buffer.fGetPutIndex(key.c_str()) == index, "another index to come");
            fuzz::ensure(buffer.fObjectPut(key.c_str(), object) == index, "another index");
            model.push_back({index, key, object});
            break;
        }
        case 2:
            fuzz::ensure(buffer.fObjectRemove(key.c_str()) == (found != model.end() ? 1 : 0), "another removal");
            if (found != model.end())
                model.erase(found);
            break;
        case 3:
            fuzz::ensure(buffer.fSetObject(key.c_str(), object) == (found != model.end() ? object : nullptr),
                         "another replacement");
            if (found != model.end())
                found->object = object;
            break;
        default:
            fuzz::ensure(buffer.fGetObject(key.c_str()) == (found != model.end() ? found->object : nullptr),
                         "another object by key");
            break;
        }
        fuzz::ensure(buffer.fGetSize() == static_cast<int>(model.size()), "another size");
        for (const Entry &entry : model) {
            fuzz::ensure(buffer.fGetObject(entry.index) == entry.object, "another object by index");
            fuzz::ensure(entry.key == buffer.fGetObjectKey(entry.index), "another key");
        }
        if (operation == 255) {
            buffer.fFreeObjects();
            model.clear();
        }
    }
    buffer.fFreeObjects();
}

void ensureNames(fuzz::FuzzedInput &input) {
    CBandwidthList list;
    std::list<std::string> model;
    list.m_nListOrderType = (input.byte() & 1) != 0 ? NAMED_LIST_PREPEND : NAMED_LIST_APPEND;
    for (int step = 0; !input.atEnd() && step < 100; ++step) {
        const unsigned operation = input.byte();
        const std::string name = input.text();
        const std::string kept = name.substr(0, NAMED_LIST_NAME_SIZE - 1);
        const bool present = std::find(model.begin(), model.end(), kept) != model.end();
        if (operation % 4 < 2) {
            const int expected = name.empty() ? -1 : (present ? 0 : 1);
            fuzz::ensure(list.fAddLinkedList(name.c_str(), 1, DUPLEX_HALF) == expected, "another verdict on a name");
            if (expected == 1)
                model.insert(list.m_nListOrderType == NAMED_LIST_PREPEND ? model.begin() : model.end(), kept);
        } else if (operation % 4 == 2) {
            const bool there = std::find(model.begin(), model.end(), name) != model.end();
            fuzz::ensure(list.fDeleteNode(name.c_str()) == (there ? 1 : 0), "another verdict on a deletion");
            model.remove(name);
        } else {
            operation < 128 ? list.fMoveNext() : list.fMovePrev();
        }
        auto expected = model.begin();
        for (const _ST_BANDWIDTH_LIST *node = list.fGetHeadNode(); node != nullptr; node = node->m_pstNext, ++expected)
            fuzz::ensure(expected != model.end() && *expected == node->m_strIFName, "another node");
        fuzz::ensure(expected == model.end() && list.fGetNodeCnt() == static_cast<long>(model.size()), "another count");
    }
}

} // namespace

FUZZ_TARGET(object_buffer_fuzz) {
    if ((input.byte() & 1) != 0)
        ensureObjects(input);
    else
        ensureNames(input);
}
