// The names of PCI devices, in the text of a pci.ids file (packages pci.ids and hwdata).
//
//   8086  Intel Corporation
//   <tab>2922  82801IR/IO/IH (ICH9R/DO/DH) 6 port SATA Controller [AHCI mode]
//   <tab><tab>1af4 1100  QEMU Virtual Machine
//   C 01  Mass storage controller
//   <tab>06  SATA controller
//
// A name is what the first entry of its number has; empty when there is none, or when it is longer than a name can be.
// The text may hold anything.
#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_map>

namespace zel {

class PciIds {
public:
    static constexpr std::size_t NAME_LIMIT = 256;

    /// The text outlives the object and the names.
    explicit PciIds(std::string_view text);

    std::string_view vendor(std::uint16_t vendor) const;
    std::string_view device(std::uint16_t vendor, std::uint16_t device) const;
    /// Of a card with the device; the name of the device when its maker gave the card the same numbers.
    std::string_view subsystem(std::uint16_t vendor, std::uint16_t device, std::uint16_t cardVendor,
                               std::uint16_t card) const;
    /// Of the subclass, or else of the class.
    std::string_view className(std::uint8_t base, std::uint8_t subclass) const;

private:
    using Blocks = std::unordered_map<std::uint16_t, std::string_view>; // from the line of the number on

    static std::string_view blockOf(const Blocks &blocks, std::uint16_t number);

    Blocks m_vendors, m_classes;
};

} // namespace zel
