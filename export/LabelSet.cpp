// A hash table with open addressing, whose slots are freed by counting generations.
#include "export/LabelSet.h"

#include <algorithm>
#include <cstring>

namespace zel {

namespace {

constexpr std::size_t firstSlots = 64;
constexpr std::uint64_t multiplier = 0x9e3779b97f4a7c15U; // odd, without a pattern in its bits

std::uint64_t mix(std::uint64_t hash, std::uint64_t word) {
    hash = (hash ^ word) * multiplier;
    return hash ^ hash >> 32U;
}

std::uint64_t hashOf(std::string_view text) {
    std::uint64_t hash = text.size();
    for (; text.size() >= sizeof(hash); text.remove_prefix(sizeof(hash))) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data(), sizeof(word));
        hash = mix(hash, word);
    }
    std::uint64_t rest = 0;
    std::memcpy(&rest, text.data(), text.size());
    return mix(hash, rest);
}

} // namespace

void LabelSet::clear() {
    m_used = 0;
    if (++m_generation != 0)
        return;
    std::fill(m_slots.begin(), m_slots.end(), Slot());
    m_generation = 1;
}

LabelSet::Slot &LabelSet::find(std::uint64_t hash, std::string_view text, const std::string &store) {
    const std::size_t mask = m_slots.size() - 1;
    for (std::size_t at = hash & mask;; at = (at + 1) & mask) {
        Slot &slot = m_slots[at];
        if (slot.generation != m_generation)
            return slot;
        if (slot.hash == hash && std::string_view(store).substr(slot.offset, slot.length) == text)
            return slot;
    }
}

// Those of the slots are all different: none is compared again.
void LabelSet::grow() {
    std::vector<Slot> old(std::max(firstSlots, m_slots.size() * 2));
    old.swap(m_slots);
    const std::size_t mask = m_slots.size() - 1;
    for (const Slot &slot : old) {
        if (slot.generation != m_generation)
            continue;
        std::size_t at = slot.hash & mask;
        while (m_slots[at].generation == m_generation)
            at = (at + 1) & mask;
        m_slots[at] = slot;
    }
}

bool LabelSet::add(const std::string &store, std::size_t offset, std::size_t length) {
    if (m_generation == 0)
        clear();
    if (m_used * 2 >= m_slots.size())
        grow();
    const std::string_view text = std::string_view(store).substr(offset, length);
    const std::uint64_t hash = hashOf(text);
    Slot &slot = find(hash, text, store);
    if (slot.generation == m_generation)
        return false;
    slot = {hash, offset, length, m_generation};
    ++m_used;
    return true;
}

} // namespace zel
