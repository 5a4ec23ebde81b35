// Reads inventories: files, JSON, and whether that has the right shape.
#include "zel/InventoryFile.h"

#include "host/Hardware.h"
#include "zel/HardwareChanges.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace zel {

namespace {

using Json = nlohmann::json;

// What an inventory nests: the object, a list, a row, its reasons. Deeper ones would be walked by recursion later on.
constexpr std::size_t deepest = 6;

// Looked for before parsing: a filter of the parser looks at a list again for each of its rows.
bool isTooDeep(std::string_view text) {
    std::size_t depth = 0;
    bool isText = false;
    for (std::size_t place = 0; place < text.size(); ++place) {
        const char letter = text[place];
        if (letter == '"')
            isText = !isText;
        else if (isText)
            place += letter == '\\' ? 1 : 0;
        else if (letter == '[' || letter == '{')
            ++depth;
        else if (letter == ']' || letter == '}')
            depth -= depth > 0 ? 1 : 0;
        if (depth > deepest)
            return true;
    }
    return false;
}

bool isLabel(const Json &row, std::string_view name) {
    const auto found = row.find(name);
    return found != row.end() && (found->is_string() || found->is_number_unsigned());
}

bool isRow(const AnyFields &fields, const Json &row) {
    if (!row.is_object())
        return false;
    for (const Family *family : fields.families) {
        if (family->kind == Kind::Label && !isLabel(row, family->name))
            return false;
        const auto found = row.find(family->name);
        if (found != row.end() && found->is_structured())
            return false;
    }
    const auto reasons = row.find("absent");
    return reasons == row.end() || reasons->is_object();
}

bool hasShape(const AnyHardwareSection &section, const Json &inventory) {
    const auto found = inventory.find(section.name);
    if (found == inventory.end())
        return true;
    if (!section.isList)
        return isRow(section.fields, *found);
    return found->is_array() && std::all_of(found->begin(), found->end(),
                                            [&section](const Json &row) { return isRow(section.fields, row); });
}

bool hasParts(const Json &inventory) {
    const auto parts = inventory.find("parts");
    return parts != inventory.end() && parts->is_object() &&
           std::all_of(parts->begin(), parts->end(), [](const Json &part) { return part.is_object(); });
}

} // namespace

Json readInventory(std::string_view text, std::string &problem) {
    if (isTooDeep(text)) {
        problem = "is no inventory: make one with zel hardware --format json";
        return {};
    }
    Json inventory = Json::parse(text, nullptr, false);
    if (inventory.is_discarded()) {
        problem = "is no JSON: make one with zel hardware --format json";
        return inventory;
    }
    if (!inventory.is_object() || !hasParts(inventory)) {
        problem = "is no inventory: make one with zel hardware --format json";
        return inventory;
    }
    for (const AnyHardwareSection &section : hardwareSections()) {
        if (problem.empty() && !hasShape(section, inventory))
            problem = "is no inventory: '" + std::string(section.name) + "' is not what zel hardware writes";
    }
    return inventory;
}

std::string readEarlierInventory(const std::string &file, std::string &problem) {
    constexpr std::size_t piece = 65536;
    const bool isInput = file == "-";
    const int descriptor = isInput ? STDIN_FILENO : open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    std::string text;
    ssize_t count = descriptor < 0 ? -1 : 1;
    while (count > 0 && text.size() <= EARLIER_INVENTORY_LIMIT) {
        const std::size_t length = text.size();
        text.resize(length + piece);
        do
            count = read(descriptor, text.data() + length, piece);
        while (count < 0 && errno == EINTR);
        text.resize(length + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    if (count < 0)
        problem = std::strerror(errno);
    else if (text.size() > EARLIER_INVENTORY_LIMIT)
        problem = "it is larger than any inventory (" + std::to_string(EARLIER_INVENTORY_LIMIT >> 20U) + " MiB)";
    if (descriptor >= 0 && !isInput)
        close(descriptor);
    if (!problem.empty())
        problem = "--since " + file + ": " + problem;
    return text;
}

} // namespace zel
