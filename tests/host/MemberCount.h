// How many members a struct has, counted by the compiler: the longest list of values from which it can be made.
#pragma once

#include <cstddef>
#include <utility>

namespace members {

// Becomes any member; it is never made.
struct Any {
    template<class Type> operator Type() const;
};

template<class Struct, std::size_t... Index> constexpr bool isMadeOf(std::index_sequence<Index...>) {
    return requires {
        Struct{(static_cast<void>(Index), Any{})...};
    };
}

template<class Struct, std::size_t Low, std::size_t High> constexpr std::size_t countBetween() {
    if constexpr (High - Low == 1) {
        return Low;
    } else {
        constexpr std::size_t middle = Low + (High - Low) / 2;
        if constexpr (isMadeOf<Struct>(std::make_index_sequence<middle>{}))
            return countBetween<Struct, middle, High>();
        else
            return countBetween<Struct, Low, middle>();
    }
}

/// Of an aggregate without bases, whose members are no aggregates.
template<class Struct> constexpr std::size_t countOf() {
    return countBetween<Struct, 0, 1024>();
}

} // namespace members
