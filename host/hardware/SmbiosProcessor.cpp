// Sockets of processors in the firmware's tables: the fields of type 4.
#include "host/hardware/SmbiosFields.h"
#include "host/hardware/SmbiosRows.h"

namespace zel {

namespace {

// Where a field of the structure is.
struct SocketAt {
    enum : std::size_t {
        Socket = 0x04,
        Type = 0x05,
        Manufacturer = 0x07,
        Version = 0x10,
        Voltage = 0x11,
        BusClock = 0x12,
        HighestSpeed = 0x14,
        BootSpeed = 0x16,
        Status = 0x18,
        Serial = 0x20,
        AssetTag = 0x21,
        PartNumber = 0x22,
        Cores = 0x23,
        EnabledCores = 0x24,
        Threads = 0x25,
        LongCores = 0x2A,
        LongEnabledCores = 0x2C,
        LongThreads = 0x2E
    };
};

constexpr std::string_view types[] = {"Other",          "", "Central Processor", "Math Processor", "DSP Processor",
                                      "Video Processor"};
constexpr std::string_view states[] = {"Enabled", "Disabled By User", "Disabled By BIOS", "Idle", "", "", "Other"};

// A byte; all ones in it where a later field has the whole number.
Count countOf(const SmbiosStructure &structure, std::size_t at, std::size_t longAt) {
    constexpr std::uint64_t seeLongField = 0xFF;
    const Count number = structure.byte(at);
    if (!number || *number != seeLongField)
        return known(number, {0});
    const Count whole = structure.word(longAt);
    return whole.absence() == Absence::Unsupported ? number : known(whole, {0});
}

// With the highest bit: tenths of a volt. Without it: the voltages that an old socket can take, which is not one.
Number volts(const Count &code) {
    constexpr std::uint64_t inTenths = 0x80;
    if (!code || *code <= inTenths)
        return Absence::Unsupported;
    return static_cast<double>(*code - inTenths) / 10;
}

} // namespace

void takeProcessorSocket(const SmbiosStructure &structure, Absence serials, ProcessorSocket &socket) {
    constexpr std::uint64_t megahertz = 1000000, stateBits = 0x07;
    constexpr unsigned populatedBit = 6;
    takeLabel(structure, SocketAt::Socket, socket.socket);
    socket.handle = structure.handle();
    const Count status = structure.byte(SocketAt::Status);
    socket.populated = status ? Count(*status >> populatedBit & 1U) : status;
    takeCode(status ? Count(*status & stateBits) : status, states, socket.status);
    takeCode(structure.byte(SocketAt::Type), types, socket.type);
    structure.text(SocketAt::Manufacturer, socket.manufacturer);
    structure.text(SocketAt::Version, socket.version);
    socket.cores = countOf(structure, SocketAt::Cores, SocketAt::LongCores);
    socket.enabledCores = countOf(structure, SocketAt::EnabledCores, SocketAt::LongEnabledCores);
    socket.threads = countOf(structure, SocketAt::Threads, SocketAt::LongThreads);
    socket.highestHertz = scaledKnown(structure.word(SocketAt::HighestSpeed), megahertz);
    socket.bootHertz = scaledKnown(structure.word(SocketAt::BootSpeed), megahertz);
    socket.busHertz = scaledKnown(structure.word(SocketAt::BusClock), megahertz);
    socket.volts = volts(structure.byte(SocketAt::Voltage));
    structure.text(SocketAt::PartNumber, socket.partNumber);
    takeSerial(structure, SocketAt::Serial, serials, socket.serial);
    takeSerial(structure, SocketAt::AssetTag, serials, socket.assetTag);
}

} // namespace zel
