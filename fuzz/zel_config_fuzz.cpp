// The configuration of the tool, as whoever may write its file could damage it: comes back as options of the commands,
// or with a problem that has a place in the text.
#include "Ensure.h"
#include "FuzzTarget.h"

#include "zel/config/Configuration.h"
#include "zel/config/KeyDepth.h"

#include <algorithm>

namespace {

// An option of each type; any value is right.
constexpr zel::OptionEntry options[] = {{"--text", "TEXT", ""},
                                        {"--time", "TIME", ""},
                                        {"--number", "N", ""},
                                        {"--switch", "", ""},
                                        {"--list", "A,...", ""}};
constexpr zel::OptionEntry more[] = {{"--metrics-number", "N", ""}, {"--metrics-list", "A,...", ""}};

int runNothing(const zel::Command &, const zel::Arguments &) {
    return 0;
}

std::string checkNothing(const zel::Arguments &) {
    return {};
}

const zel::Command show{"show", "", "", "", options, {}, {}, runNothing, checkNothing};
const zel::Command serve{"serve", "", "", "", more, {}, {}, runNothing, checkNothing};
constexpr const zel::Command *commands[] = {&show, &serve};

bool hasControlBytes(const std::string &text) {
    return std::any_of(text.begin(), text.end(), [](char letter) { return static_cast<unsigned char>(letter) < ' '; });
}

} // namespace

FUZZ_TARGET(zel_config_fuzz) {
    const std::string text = input.piece();
    const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
    fuzz::ensure(zel::lineOfDeepKey(text, zel::CONFIG_DEEPEST_KEY) <= lines, "a deep key after the end");
    const zel::Configuration configuration = zel::readConfiguration(text, commands);
    for (const zel::ConfigProblem &problem : configuration.problems) {
        fuzz::ensure(!problem.text.empty(), "a problem without words");
        fuzz::ensure(problem.place.line <= lines + 1, "a problem after the end");
    }
    for (const zel::ConfiguredOption &option : configuration.options) {
        fuzz::ensure(!hasControlBytes(option.value), "a control byte in a value");
        fuzz::ensure(option.place.line >= 1 && option.place.line <= lines, "an option without a place");
    }
    for (const zel::Command *command : commands) {
        const zel::Arguments given = zel::withConfiguration(configuration, *command, {});
        for (const auto &[name, value] : given.options)
            fuzz::ensure(name != "--number" || value.find_first_not_of("-0123456789") == value.npos, "no number");
    }
}
