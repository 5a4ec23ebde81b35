// An inventory that `zel hardware --format json` wrote, read again. The text may hold anything.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace zel {

/// The object, of which every section that is known has the shape that it is written in: an object, or a list of
/// objects whose labels are there. `problem` says what is wrong: "is no JSON".
nlohmann::json readInventory(std::string_view text, std::string &problem);

} // namespace zel
