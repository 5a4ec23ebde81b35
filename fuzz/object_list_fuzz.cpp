// CObjectList and the queue of messages under any sequence of operations, beside standard containers.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "ObjectList.h"
#include "Queue.h"

#include <algorithm>
#include <list>

namespace {

struct Entry {
    int index;
    std::size_t data;
};

using Model = std::list<Entry>;

// Where a node goes by the order of the list.
Model::iterator placeOf(Model &model, int order, int index) {
    switch (order) {
    case OBJECTLIST_PREPEND:
        return model.begin();
    case OBJECTLIST_ASCENDING:
        return std::find_if(model.begin(), model.end(), [index](const Entry &e) { return e.index > index; });
    case OBJECTLIST_DESCENDING:
        return std::find_if(model.begin(), model.end(), [index](const Entry &e) { return e.index < index; });
    default:
        return model.end();
    }
}

bool holds(const Model &model, int index) {
    return std::any_of(model.begin(), model.end(), [index](const Entry &e) { return e.index == index; });
}

// Every match goes, but a node that becomes the head because the head went is passed over.
int deleteFromModel(Model &model, int index) {
    int removed = 0;
    for (auto entry = model.begin(); entry != model.end();) {
        if (entry->index != index) {
            ++entry;
            continue;
        }
        const bool head = entry == model.begin();
        entry = model.erase(entry);
        if (head && entry != model.end())
            ++entry;
        removed = 1;
    }
    return removed;
}

void ensureSame(CObjectList &list, const Model &model) {
    const ST_OBJECTLIST_LNKLST_ *previous = nullptr;
    const ST_OBJECTLIST_LNKLST_ *node = list.fGetHeadNode();
    bool cursorInside = list.fGetNode() == nullptr;
    for (const Entry &expected : model) {
        fuzz::ensure(node != nullptr, "fewer nodes than the model has");
        fuzz::ensure(node->m_nIndex == expected.index, "another index");
        fuzz::ensure(reinterpret_cast<std::size_t>(node->m_pvdData) == expected.data, "another object");
        fuzz::ensure(node->m_pstPrev == previous, "a broken link");
        cursorInside = cursorInside || node == list.fGetNode();
        previous = node;
        node = node->m_pstNext;
    }
    fuzz::ensure(node == nullptr && list.fGetEndNode() == previous, "more nodes than the model has");
    fuzz::ensure(list.fGetNodeCnt() == static_cast<long>(model.size()), "another count");
    fuzz::ensure(cursorInside, "the cursor stands on no node of the list");
}

void ensureQueue(fuzz::FuzzedInput &input) {
    Queue<Entry *> queue;
    std::list<Entry *> model;
    Entry entries[256];
    for (unsigned step = 0; !input.atEnd() && step < 100; ++step) {
        const unsigned operation = input.byte();
        Entry *entry = &entries[operation];
        if (operation < 128) {
            const bool expected = model.size() < 5;
            fuzz::ensure(queue.pushBelow(entry, 5) == expected, "another verdict on a full queue");
            if (expected)
                model.push_back(entry);
        } else if (!model.empty()) { // an empty queue waits
            fuzz::ensure(queue.pop() == model.front(), "another message");
            model.pop_front();
        }
        fuzz::ensure(queue.getCount() == static_cast<int>(model.size()), "another count");
    }
}

} // namespace

FUZZ_TARGET(object_list_fuzz) {
    const int order = static_cast<int>(input.byte() % 4) + 1;
    const int duplicates = static_cast<int>(input.byte() & 1);
    CObjectList list(order, OBJECTLIST_DEFAULT_MAXIMUM, duplicates);
    Model model;
    for (std::size_t step = 1; !input.atEnd() && step < 200; ++step) {
        const unsigned operation = input.byte() % 10;
        const int index = static_cast<int>(input.byte() % 8);
        const ST_OBJECTLIST_LNKLST_ node{index, reinterpret_cast<void *>(step), nullptr, nullptr};
        switch (operation) {
        case 0:
        case 1:
        case 2:
        case 3: {
            const bool taken = duplicates == 1 || !holds(model, index);
            fuzz::ensure(list.fAddNode(&node) == (taken ? 1 : 0), "another verdict on a node");
            if (taken)
                model.insert(placeOf(model, order, index), Entry{index, step});
            break;
        }
        case 4:
            fuzz::ensure(list.fDeleteNode(index) == deleteFromModel(model, index), "another verdict on a deletion");
            break;
        case 5:
            fuzz::ensure((list.fGetNode(index) != nullptr) == holds(model, index), "another search result");
            break;
        case 6:
            if (duplicates == 0)
                fuzz::ensure(list.findUnique(index) == list.fGetNode(index), "two searches differ");
            break;
        case 7:
            fuzz::ensure((index < 4 ? list.fMoveFirst() : list.fMoveLast()) == (model.empty() ? 0 : 1), "a move");
            break;
        case 8:
            index < 4 ? list.fMoveNext() : list.fMovePrev();
            break;
        default:
            if (index == 0) {
                list.fFreeAll();
                model.clear();
            }
            break;
        }
        ensureSame(list, model);
    }
    input.piece();
    ensureQueue(input);
}
