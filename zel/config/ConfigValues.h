// Values of a configuration as the options of a command line take them.
#pragma once

#include "zel/CommandLine.h"
#include "zel/config/TomlText.h"

#include <optional>
#include <string>
#include <string_view>

namespace zel {

/// What an option takes, by the word that stands for it in the help: "" nothing, "N" a whole number, "AREA,..." several
/// texts with commas between them, anything else one text.
inline constexpr std::string_view NUMBER_VALUE = "N";
inline constexpr std::string_view LIST_VALUE_END = ",...";

struct ConfiguredValue {
    std::optional<std::string> text; // none: the file says that the option is not given
    std::optional<ConfigProblem> problem;
};

ConfiguredValue configuredValue(std::string_view key, const OptionEntry &option, const ConfigValue &value);

} // namespace zel
