// Finds names in the text of a pci.ids file.
#include "host/hardware/PciIds.h"

#include "host/source/AttributeText.h"

#include <algorithm>
#include <optional>

namespace zel {

namespace {

constexpr std::size_t idDigits = 4, classDigits = 2;

// The line at the start of the text, which goes on behind it.
std::string_view takeLine(std::string_view &text) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(text.size(), end + 1));
    return line;
}

// A number of exactly `digits` hexadecimal digits, which the text goes on behind.
std::optional<std::uint16_t> takeNumber(std::string_view &text, std::size_t digits) {
    if (text.size() < digits)
        return std::nullopt;
    unsigned number = 0;
    for (std::size_t at = 0; at < digits; ++at) {
        const unsigned digit = digitValue<16>(text[at]);
        if (digit >= 16)
            return std::nullopt;
        number = number * 16 + digit;
    }
    text.remove_prefix(digits);
    return static_cast<std::uint16_t>(number);
}

std::string_view nameIn(std::string_view text) {
    const std::string_view name = trimmed(text);
    return name.size() <= PciIds::NAME_LIMIT ? name : std::string_view();
}

std::size_t depthOf(std::string_view line) {
    return std::min(line.find_first_not_of('\t'), line.size());
}

// The part of `block` from the entry `number` on, which is `depth` tabulators in, to the next one of its kind. Empty
// when there is none.
std::string_view entryIn(std::string_view block, std::size_t depth, std::uint16_t number, std::size_t digits) {
    std::string_view rest = block;
    while (!rest.empty()) {
        const char *const start = rest.data();
        std::string_view line = takeLine(rest);
        if (depthOf(line) != depth)
            continue;
        line.remove_prefix(depth);
        if (takeNumber(line, digits) != number)
            continue;
        std::string_view after = rest;
        while (!rest.empty()) {
            after = rest;
            const std::string_view next = takeLine(rest);
            if (!next.empty() && next[0] != '#' && depthOf(next) <= depth)
                return {start, static_cast<std::size_t>(after.data() - start)};
        }
        return {start, static_cast<std::size_t>(block.data() + block.size() - start)};
    }
    return {};
}

// The name in the first line of an entry.
std::string_view entryName(std::string_view entry, std::size_t depth, std::size_t digits) {
    std::string_view line = takeLine(entry);
    if (line.size() < depth + digits)
        return {};
    return nameIn(line.substr(depth + digits));
}

} // namespace

PciIds::PciIds(std::string_view text) {
    Blocks *blocks = nullptr; // that the current entry belongs to
    std::uint16_t number = 0;
    const char *start = nullptr;
    const auto endEntry = [&](const char *end) {
        if (blocks != nullptr)
            blocks->try_emplace(number, start, static_cast<std::size_t>(end - start));
        blocks = nullptr;
    };
    while (!text.empty()) {
        const char *const begin = text.data();
        std::string_view line = takeLine(text);
        if (line.empty() || line[0] == '#' || line[0] == '\t')
            continue;
        endEntry(begin);
        const bool isClass = line.substr(0, 2) == "C ";
        if (isClass)
            line.remove_prefix(2);
        const std::optional<std::uint16_t> read = takeNumber(line, isClass ? classDigits : idDigits);
        if (!read || line.empty() || !isSpace(line[0]))
            continue;
        number = *read;
        blocks = isClass ? &m_classes : &m_vendors;
        start = line.data();
    }
    endEntry(text.data());
}

std::string_view PciIds::blockOf(const Blocks &blocks, std::uint16_t number) {
    const auto found = blocks.find(number);
    return found == blocks.end() ? std::string_view() : found->second;
}

std::string_view PciIds::vendor(std::uint16_t vendor) const {
    return entryName(blockOf(m_vendors, vendor), 0, 0);
}

std::string_view PciIds::device(std::uint16_t vendor, std::uint16_t device) const {
    return entryName(entryIn(blockOf(m_vendors, vendor), 1, device, idDigits), 1, idDigits);
}

std::string_view PciIds::subsystem(std::uint16_t vendor, std::uint16_t device, std::uint16_t cardVendor,
                                   std::uint16_t card) const {
    constexpr std::size_t depth = 2;
    std::string_view cards = entryIn(blockOf(m_vendors, vendor), 1, device, idDigits);
    while (!cards.empty()) {
        std::string_view line = takeLine(cards);
        if (depthOf(line) != depth)
            continue;
        line.remove_prefix(depth);
        if (takeNumber(line, idDigits) != cardVendor || line.empty() || line[0] != ' ')
            continue;
        line.remove_prefix(1);
        if (takeNumber(line, idDigits) == card)
            return nameIn(line);
    }
    const bool isSame = vendor == cardVendor && device == card;
    return isSame ? this->device(vendor, device) : std::string_view();
}

std::string_view PciIds::className(std::uint8_t base, std::uint8_t subclass) const {
    const std::string_view block = blockOf(m_classes, base);
    const std::string_view name = entryName(entryIn(block, 1, subclass, classDigits), 1, classDigits);
    return name.empty() ? entryName(block, 0, 0) : name;
}

} // namespace zel
