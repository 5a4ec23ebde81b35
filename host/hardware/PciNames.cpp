// Reads numbers and names of PCI devices.
#include "host/hardware/PciNames.h"

#include "host/source/SourceFile.h"
#include "text/NumberScan.h"

#include <cerrno>

namespace zel {

void readPciIds(const HostDirectory &root, PartText &text) {
    for (const char *path : {PCI_IDS_FILE, "usr/share/hwdata/pci.ids"}) {
        SourceFile file(path, Records::Many);
        text.error = file.read(root);
        text.text = file.text();
        if (text.error != ENOENT)
            return;
    }
}

std::optional<std::uint32_t> pciNumber(const Reading<std::string> &text, std::size_t bits) {
    if (!text || text.value().size() != 2 + bits / 4 || text.value().compare(0, 2, "0x") != 0)
        return std::nullopt;
    std::uint32_t number = 0;
    for (const char character : text.value().substr(2)) {
        if (digitValue<16>(character) >= 16)
            return std::nullopt;
        number = number * 16 + digitValue<16>(character);
    }
    return number;
}

std::optional<std::uint16_t> pciId(const Reading<std::string> &text) {
    constexpr std::size_t bits = 16;
    const std::optional<std::uint32_t> number = pciNumber(text, bits);
    return number ? std::optional(static_cast<std::uint16_t>(*number)) : std::nullopt;
}

} // namespace zel
