// Looking up the keys of a map in an order that mostly follows it.
#pragma once

namespace zel {

/// The entry of `key`, or the end of `map`. `last` is what the lookup before found (the end at first): the entry after
/// it is tried before the map is searched. Kernels list devices in the order of their names' last characters, and so
/// do keys made by ELFHash.
template<typename Map>
typename Map::iterator findNear(Map &map, typename Map::iterator &last, const typename Map::key_type &key) {
    if (last == map.end() || ++last == map.end() || last->first != key)
        last = map.find(key);
    return last;
}

} // namespace zel
