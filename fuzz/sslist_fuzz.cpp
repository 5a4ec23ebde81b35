// CSSList under any sequence of operations, beside a std::list of the same records.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "SSList.h"

#include <algorithm>
#include <iterator>
#include <list>

namespace {

struct Record {
    unsigned key;
    unsigned order; // tells equal keys apart
};

using Model = std::list<Record>;

int sameKey(const void *stored, const void *record) {
    return static_cast<const Record *>(stored)->key == static_cast<const Record *>(record)->key ? 1 : 0;
}

int greaterKey(const void *stored, const void *record) {
    return static_cast<const Record *>(stored)->key > static_cast<const Record *>(record)->key ? 1 : 0;
}

int byKey(const void *left, const void *right) {
    const unsigned a = static_cast<const Record *>(left)->key;
    const unsigned b = static_cast<const Record *>(right)->key;
    return static_cast<int>(a > b) - static_cast<int>(a < b);
}

// For every node the later ones are scanned; the first below it moves before it and the pass starts again.
void sortModel(Model &model) {
    for (auto current = model.begin(); current != model.end();) {
        const auto later = std::find_if(std::next(current), model.end(),
                                        [&](const Record &record) { return record.key < current->key; });
        if (later == model.end()) {
            ++current;
            continue;
        }
        model.splice(current, model, later);
        current = model.begin();
    }
}

void ensureSame(const CSSList &list, const Model &model, int count) {
    auto expected = model.begin();
    for (SSListNode *node = list.fSlGetHeadNode()->l_pstNext; node != nullptr; node = node->l_pstNext, ++expected) {
        fuzz::ensure(expected != model.end(), "more nodes than the model has");
        const Record *record = fgListRecord<Record>(node);
        fuzz::ensure(record->key == expected->key && record->order == expected->order, "another record");
    }
    fuzz::ensure(expected == model.end(), "fewer nodes than the model has");
    fuzz::ensure(list.fSlNList() == count, "another count");
}

// Deletes the first match as fSlDelete does. True when there was one; an empty list lowers the count.
bool deleteFromModel(Model &model, unsigned key, int &count) {
    if (model.empty()) {
        --count;
        return false;
    }
    const auto found = std::find_if(model.begin(), model.end(), [key](const Record &r) { return r.key == key; });
    if (found == model.end())
        return false;
    model.erase(found);
    return true;
}

} // namespace

FUZZ_TARGET(sslist_fuzz) {
    CSSList list;
    Model model;
    int count = 0;
    for (unsigned order = 0; !input.atEnd() && order < 200; ++order) {
        const unsigned operation = input.byte() % 9;
        const Record record{input.byte() % 8, order};
        const auto matches = [&](const Record &other) { return other.key == record.key; };
        switch (operation) {
        case 0:
            list.fSlInsertFifo(&record, sizeof(record), nullptr);
            model.push_back(record);
            ++count;
            break;
        case 1:
            list.fSlInsert(&record, sizeof(record), nullptr);
            model.push_back(record);
            ++count;
            break;
        case 2:
            list.fSlInsertLifo(&record, sizeof(record), nullptr);
            model.push_front(record);
            ++count;
            break;
        case 3: {
            list.fSlInsertFcmp(&record, sizeof(record), greaterKey);
            const auto place =
                std::find_if(model.begin(), model.end(), [&](const Record &other) { return other.key > record.key; });
            model.insert(place, record);
            ++count;
            break;
        }
        case 4:
            list.fSlSort(nullptr, 0, byKey);
            sortModel(model);
            break;
        case 5: {
            SSListNode *found = list.fSlSearch(&record, sizeof(record), sameKey);
            const auto expected = std::find_if(model.begin(), model.end(), matches);
            fuzz::ensure((found == nullptr) == (expected == model.end()), "another search result");
            fuzz::ensure(found == nullptr || fgListRecord<Record>(found)->order == expected->order, "another record");
            break;
        }
        case 6: {
            const bool deleted = list.fSlDelete(&record, sizeof(record), sameKey) != nullptr;
            fuzz::ensure(deleted == deleteFromModel(model, record.key, count), "another verdict on a deletion");
            break;
        }
        case 7: {
            int deleted = -1;
            list.fSlDelete(&record, sizeof(record), sameKey, &deleted);
            int expected = 0;
            while (deleteFromModel(model, record.key, count))
                ++expected;
            fuzz::ensure(deleted == expected, "another number of deletions");
            break;
        }
        default:
            if (record.key == 0) {
                list.fSlDeleteAll();
                model.clear();
                count = 0;
            }
            break;
        }
        ensureSame(list, model, count);
    }
    list.fSlDeleteAll();
}
