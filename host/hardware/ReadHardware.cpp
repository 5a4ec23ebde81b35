// Reads the inventory by bounded calls: first the lists of devices, then each device; beside them the texts that
// complete their rows.
#include "host/hardware/PartReader.h"
#include "host/source/BoundedReads.h"
#include "host/source/Clocks.h"

#include <algorithm>
#include <memory>
#include <optional>

namespace zel {

namespace {

using Time = BoundedPass::Time;

// By HardwarePart.
using MakePart = const PartReader &(*)();
constexpr MakePart partReaders[HARDWARE_PART_COUNT] = {
    machinePart, processorsPart, memoryPart, pciPart, networkPart, disksPart, nvmePart, fibreChannelPart, gpusPart,
};

void losePart(Hardware &hardware, HardwarePart part, int error, std::string_view file) {
    AreaState &state = hardware.part(part);
    noteFailure(state, error, file);
    state.absence = absenceOf(error);
    for (const AnyHardwareSection &section : hardwareSections()) {
        if (section.part == part)
            section.lose(hardware, state.absence);
    }
}

// What one call found of a part.
void addRows(Hardware &hardware, HardwarePart part, const Hardware &found) {
    const AreaState &state = found.part(part);
    if (state.error != 0)
        noteFailure(hardware.part(part), state.error, state.file);
    if (state.absence != Absence::None)
        hardware.part(part).absence = state.absence;
    forEachHardwareSection([&]<class Row>(const HardwareSection<Row> &section) {
        if (section.part != part)
            return;
        if (section.one != nullptr)
            hardware.*section.one = found.*section.one;
        else
            for (const Row &row : found.*section.many)
                (hardware.*section.many).append() = row;
    });
}

// What every call of one reading needs. A call that hangs outlives the reading.
struct Shared {
    HardwareOptions options;
    HostDirectory root;
};

class Inventory {
public:
    Inventory(const HardwareOptions &options, Hardware &hardware)
        : m_options(options), m_hardware(hardware),
          m_calls("hardware" + std::string(options.serials ? " with serials" : "") + ' ' + options.root),
          m_start(std::chrono::steady_clock::now()), m_deadline(m_start + options.deadline) {
        for (std::size_t index = 0; index < HARDWARE_PART_COUNT; ++index) {
            const auto part = static_cast<HardwarePart>(index);
            if (isWanted(part))
                m_parts.push_back({part, partReaders[index] == nullptr ? nullptr : &partReaders[index](), {}, 0, 0});
        }
    }

    void read() {
        for (const Part &part : m_parts)
            m_hardware.part(part.part).asked = true;
        if (const int error = openRoot(); error != 0) {
            for (const Part &part : m_parts)
                losePart(m_hardware, part.part, error, m_options.root);
            return;
        }
        std::erase_if(m_parts, [this](const Part &part) {
            if (part.reader == nullptr)
                losePart(m_hardware, part.part, EOPNOTSUPP, "");
            return part.reader == nullptr;
        });
        askTexts();
        listDevices();
        askDevices();
        takeDevices();
        takeTexts();
    }

private:
    using Texts = std::vector<PartText>;
    struct Part {
        HardwarePart part;
        const PartReader *reader;
        std::vector<std::string> names; // an empty one is the whole part
        std::size_t list, text;         // places of their calls
    };

    bool isWanted(HardwarePart part) const {
        return m_options.parts.empty() ||
               std::find(m_options.parts.begin(), m_options.parts.end(), part) != m_options.parts.end();
    }
    static std::string objectOf(const Part &part, std::string_view name = {}) {
        return std::string(hardwarePartName(part.part)) + ' ' + std::string(name);
    }
    static std::string fileOf(const Part &part, const std::string &name) {
        return std::string(part.reader->directory) + (name.empty() ? "" : "/") + name;
    }

    // A directory of a filesystem that hangs cannot even be opened.
    int openRoot() {
        if (m_options.root.empty()) {
            m_shared = std::make_shared<Shared>(Shared{m_options, HostDirectory("")});
            return 0;
        }
        using Opened = std::shared_ptr<const Shared>;
        BoundedReads<Opened> opening(m_calls + " root");
        opening.begin(m_deadline, 1);
        const BoundedRead<Opened> root = opening.wait(opening.ask("", [options = m_options](Opened &opened) {
            const auto shared = std::make_shared<Shared>(Shared{options, HostDirectory(options.root)});
            opened = shared;
            return shared->root.error();
        }));
        if (root.answer != nullptr)
            m_shared = *root.answer;
        return root.error;
    }

    void askTexts() {
        m_texts.begin(m_deadline, m_parts.size());
        for (Part &part : m_parts) {
            if (part.reader->readTexts != nullptr)
                part.text =
                    m_texts.ask(objectOf(part), [shared = m_shared, read = part.reader->readTexts](Texts &texts) {
                        read(shared->root, texts);
                        return 0;
                    });
        }
    }

    // Half of the time is for the devices.
    void listDevices() {
        struct List {
            std::vector<std::string> names;
            int error = 0;
        };
        BoundedReads<List> lists(m_calls + " list");
        lists.begin(m_start + m_options.deadline / 2, m_parts.size());
        for (Part &part : m_parts) {
            if (part.reader->list != nullptr)
                part.list = lists.ask(objectOf(part), [shared = m_shared, list = part.reader->list](List &answer) {
                    answer.error = list(shared->root, answer.names);
                    return 0;
                });
        }
        for (Part &part : m_parts) {
            if (part.reader->list == nullptr) {
                part.names.emplace_back();
                continue;
            }
            const BoundedRead<List> read = lists.wait(part.list);
            if (read.answer == nullptr) {
                losePart(m_hardware, part.part, read.error, part.reader->directory);
                m_hardware.part(part.part).silentSeconds = read.silentSeconds;
                continue;
            }
            part.names = read.answer->names;
            if (read.answer->error != 0)
                noteFailure(m_hardware.part(part.part), read.answer->error, part.reader->directory);
        }
    }

    void askDevices() {
        std::size_t count = 0;
        for (const Part &part : m_parts)
            count += part.names.size();
        m_devices.begin(m_deadline, count);
        for (const Part &part : m_parts) {
            for (const std::string &name : part.names)
                m_devices.ask(objectOf(part, name),
                              [shared = m_shared, part = part.part, read = part.reader->read, name](Hardware &found) {
                                  HardwareRead call{shared->root, shared->options, found, found.part(part)};
                                  read(call, name);
                                  return 0;
                              });
        }
    }

    void takeDevices() {
        std::size_t place = 0; // as they were asked
        for (const Part &part : m_parts) {
            for (const std::string &name : part.names) {
                const BoundedRead<Hardware> read = m_devices.wait(place++);
                if (read.answer != nullptr)
                    addRows(m_hardware, part.part, *read.answer);
                else
                    loseDevice(part, name, read.error, read.silentSeconds);
            }
        }
    }
    void loseDevice(const Part &part, const std::string &name, int error, double silentSeconds) {
        AreaState &state = m_hardware.part(part.part);
        noteFailure(state, error, fileOf(part, name));
        state.silentSeconds = std::max(state.silentSeconds, silentSeconds);
        if (name.empty())
            losePart(m_hardware, part.part, error, part.reader->directory);
        else
            part.reader->lose(m_hardware, name, absenceOf(error));
    }

    void takeTexts() {
        for (const Part &part : m_parts) {
            if (part.reader->readTexts == nullptr)
                continue;
            const BoundedRead<Texts> read = m_texts.wait(part.text);
            part.reader->useTexts(m_hardware, read.error,
                                  read.answer == nullptr ? std::span<const PartText>() : *read.answer);
        }
    }

    const HardwareOptions &m_options;
    Hardware &m_hardware;
    std::string m_calls; // leads the names of the calls: only those of the same options and root may join
    Time m_start, m_deadline;
    std::shared_ptr<const Shared> m_shared;
    std::vector<Part> m_parts;
    BoundedReads<Texts> m_texts{m_calls + " text"};
    BoundedReads<Hardware> m_devices{m_calls};
};

} // namespace

Hardware::Hardware() = default;
Hardware::~Hardware() = default;
Hardware::Hardware(const Hardware &) = default;
Hardware::Hardware(Hardware &&) noexcept = default;
Hardware &Hardware::operator=(const Hardware &) = default;
Hardware &Hardware::operator=(Hardware &&) noexcept = default;

std::string_view hardwarePartName(HardwarePart part) {
    constexpr std::array<std::string_view, HARDWARE_PART_COUNT> names{
        "machine", "processors", "memory", "pci", "network", "disks", "nvme", "fibrechannel", "gpus"};
    return names[static_cast<std::size_t>(part)];
}

Hardware readHardware(const HardwareOptions &options) {
    const std::int64_t start = nanosecondsOf(CLOCK_MONOTONIC);
    Hardware hardware;
    hardware.realtimeNanoseconds = nanosecondsOf(CLOCK_REALTIME);
    Inventory(options, hardware).read();
    hardware.elapsedSeconds = secondsSince(start, CLOCK_MONOTONIC);
    return hardware;
}

} // namespace zel
