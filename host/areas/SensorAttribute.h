// One file of a device that measures, and the field that it fills.
#pragma once

#include "host/Schema.h"

#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace zel {

/// What is measured is read in each sample; names, limits and alarms now and then.
enum class WhenRead : unsigned char { NowAndThen, EachSample };
inline constexpr WhenRead NOW_AND_THEN = WhenRead::NowAndThen;
inline constexpr WhenRead EACH_SAMPLE = WhenRead::EachSample;

/// What makes a number of the kernel one in a base unit. It is divided, so that the result is the double that is
/// nearest to the decimal number: 45123 milli are 45.123.
struct Scale {
    double factor = 1;
    double divisor = 1;
    bool counts = false;      // a negative number is malformed
    bool maybeNumber = false; // what is no number is unsupported: nobody said that it is one
};
inline constexpr Scale WHOLE_OR_NONE{1, 1, false, true};
inline constexpr Scale MILLI{1, 1e3};
inline constexpr Scale MICRO{1, 1e6};
inline constexpr Scale MICRO_COUNTED{1, 1e6, true};
inline constexpr Scale TENTH{1, 10};
inline constexpr Scale PERCENT{1, 100};
inline constexpr Scale MILLI_PERCENT{1, 1e5};
inline constexpr Scale BYTE{1, 255};
inline constexpr Scale MICRO_HOURS{3600, 1e6}; // of watts to joules, of amperes to coulombs

template<class Row> struct SensorAttribute {
    /// Of the file; of one of a channel what comes after "temp1_", nothing for "pwm1" itself.
    std::string_view name;
    std::variant<Number Row::*, Count Row::*, Reading<std::string> Row::*, std::string Row::*> member;
    WhenRead when = NOW_AND_THEN;
    Scale scale = {};

    bool isText() const { return member.index() >= 2; }
};

/// What the files of one kind of row are called: PREFIX, such as "temp" where they are "temp1_input", empty where a
/// device has one row, and ATTRIBUTES.
template<class Row> struct ChannelKind;

} // namespace zel
