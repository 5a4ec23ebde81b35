// Reads the errors of memory that its controllers found. What they have behind them, and what that is called, is looked
// at every 30 seconds; the errors are read in each sample.
#pragma once

#include "host/areas/CountFiles.h"
#include "host/source/NumberedDirectory.h"

#include <string>
#include <vector>

namespace zel {

class EdacErrors {
public:
    void read(Take &take);

private:
    static constexpr std::uint64_t NUMBERS_END = 65536;

    struct RowFiles {
        std::uint64_t number;
        CountFiles<EdacRow> counts;
    };
    struct ModuleFiles {
        EdacModule described; // all but its errors
        CountFiles<EdacModule> counts;
    };
    struct Controller {
        EdacController described; // its name and size
        std::string path;
        CountFiles<EdacController> counts;
        std::vector<std::string> names; // of its rows and modules
        std::vector<RowFiles> rows;
        std::vector<ModuleFiles> modules;

        explicit Controller(std::uint64_t number);
        int list(const HostDirectory &root);
        void describe(const HostDirectory &root, AreaState &state);
        bool read(Take &take);
    };

    void list(Take &take);

    NumberedDirectory m_numbers{"sys/devices/system/edac/mc", "mc", NUMBERS_END};
    std::vector<std::uint64_t> m_known;
    std::vector<Controller> m_controllers;
    std::int64_t m_listedAt = LONG_AGO; // of a coarse monotonic clock
};

} // namespace zel
