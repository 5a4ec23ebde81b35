// Compares the type of a value with what its option takes.
#include "zel/config/ConfigValues.h"

#include <algorithm>

namespace zel {

namespace {

constexpr char separator = ',';

std::string_view nameOf(ConfigKind kind) {
    switch (kind) {
    case ConfigKind::Text:
        return "a text";
    case ConfigKind::Whole:
        return "a whole number";
    case ConfigKind::Real:
        return "a number with a fraction";
    case ConfigKind::Switch:
        return "true or false";
    case ConfigKind::List:
        return "a list";
    case ConfigKind::Table:
        return "a table";
    case ConfigKind::Moment:
        return "a date or a time";
    }
    return {};
}

bool isNumber(std::string_view text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char letter) { return letter >= '0' && letter <= '9'; });
}

// What was probably meant, where that is plain.
std::string correction(std::string_view wanted, const ConfigValue &value) {
    if (wanted == NUMBER_VALUE && value.kind == ConfigKind::Text && isNumber(value.text))
        return "; did you mean " + value.text + '?';
    if (wanted == "TIME" && value.kind == ConfigKind::Whole && isNumber(value.text))
        return "; did you mean \"" + value.text + "s\"?";
    if (wanted.empty() && value.kind == ConfigKind::Text && (value.text == "true" || value.text == "false"))
        return "; did you mean " + value.text + " without quotes?";
    return {};
}

ConfiguredValue refuse(const ConfigValue &value, std::string_view key, std::string_view problem) {
    return {{}, ConfigProblem{value.place, std::string(key) + ' ' + std::string(problem)}};
}

ConfiguredValue refuseType(std::string_view key, std::string_view wanted, std::string_view right,
                           const ConfigValue &value) {
    return refuse(value, key,
                  "is " + std::string(right) + ", not " + std::string(nameOf(value.kind)) + correction(wanted, value));
}

bool hasControlBytes(std::string_view text) {
    return std::any_of(text.begin(), text.end(),
                       [](char letter) { return static_cast<unsigned char>(letter) < ' ' || letter == '\x7f'; });
}

ConfiguredValue listValue(std::string_view key, std::string_view wanted, const ConfigValue &value) {
    std::string text;
    for (const ConfigValue &item : value.items) {
        if (item.kind != ConfigKind::Text)
            return refuseType(key, wanted, "a list of texts", item);
        if (item.text.empty() || hasControlBytes(item.text) || item.text.find(separator) != std::string::npos)
            return refuse(item, key,
                          "holds an empty text, a comma or a control character; one text of the list is one " +
                              std::string(wanted.substr(0, wanted.size() - LIST_VALUE_END.size())));
        text += text.empty() ? "" : std::string(1, separator);
        text += item.text;
    }
    return {text, {}};
}

} // namespace

ConfiguredValue configuredValue(std::string_view key, const OptionEntry &option, const ConfigValue &value) {
    const std::string_view wanted = option.value;
    if (wanted.empty()) {
        if (value.kind != ConfigKind::Switch)
            return refuseType(key, wanted, "true or false", value);
        return value.text == "true" ? ConfiguredValue{"", {}} : ConfiguredValue{};
    }
    if (wanted == NUMBER_VALUE) {
        if (value.kind != ConfigKind::Whole)
            return refuseType(key, wanted, "a whole number", value);
        return {value.text, {}};
    }
    const bool isList = wanted.ends_with(LIST_VALUE_END);
    if (isList && value.kind == ConfigKind::List)
        return listValue(key, wanted, value);
    if (value.kind != ConfigKind::Text)
        return refuseType(key, wanted, isList ? "a text or a list of texts" : "a text in quotes", value);
    if (hasControlBytes(value.text))
        return refuse(value, key, "holds a control character");
    return {value.text, {}};
}

} // namespace zel
