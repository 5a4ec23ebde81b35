// What a chip is called: by the device that it is part of, whose place in the machine stays the same.
#pragma once

#include <string>
#include <string_view>

namespace zel {

/// The device that the link `device` of a chip leads to, from the text of both links: "../../devices/a/b/hwmon/hwmon0"
/// of the chip in its class and "../../../b" of the device give "devices/a/b". Empty where there is no link.
std::string deviceOfChip(std::string_view chipLink, std::string_view deviceLink);

/// "platform_coretemp_0" for "devices/platform/coretemp.0": the last two names of the path, in small letters, with an
/// underscore for all but letters, digits and colons.
std::string chipNameOfDevice(std::string_view device);

/// The same of a single name.
std::string chipNameOf(std::string_view name);

} // namespace zel
