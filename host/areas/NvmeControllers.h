// The NVMe controllers of a sample: /sys/class/nvme. The driver answers from its memory.
#pragma once

#include "host/areas/AreaReader.h"
#include "host/source/Attribute.h"
#include "host/source/DeviceTable.h"
#include "host/source/NamedDirectory.h"

#include <optional>

namespace zel {

class NvmeControllers {
public:
    static constexpr const char *DIRECTORY = "sys/class/nvme";

    void read(Take &take);

private:
    struct Known {
        std::chrono::steady_clock::time_point due; // at once
        NvmeState names;
        std::optional<Attribute> state;
        bool hadState = false;
    };

    // False when there is no such controller any more.
    static bool readNames(const Take &take, const std::string &controller, Known &known);
    static void readState(Take &take, Known &known, NvmeState &row);

    NamedDirectory m_list{DIRECTORY, "nvme"};
    DeviceTable<Known> m_known;
};

} // namespace zel
