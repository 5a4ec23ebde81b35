// Tells whether a text was added before: the labels of the series of one family. Its memory is used again after
// clear(), which takes no time.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

class LabelSet {
public:
    /// Forgets all texts.
    void clear();

    /// Adds the text that stands in `store` from `offset` on; false when it was there already. All texts since clear()
    /// are in the same store, which may move as it grows.
    bool add(const std::string &store, std::size_t offset, std::size_t length);

private:
    struct Slot {
        std::uint64_t hash = 0;
        std::size_t offset = 0;
        std::size_t length = 0;
        std::uint32_t generation = 0; // older ones are free
    };

    Slot &find(std::uint64_t hash, std::string_view text, const std::string &store);
    void grow();

    std::vector<Slot> m_slots; // a power of two, at most half full
    std::size_t m_used = 0;
    std::uint32_t m_generation = 0;
};

} // namespace zel
