// Parses the lines of /proc/net/dev.
#include "host/areas/InterfaceLines.h"

#include "host/source/LineScan.h"

#include <cstring>

namespace zel {

namespace {

// The columns after the name, in the kernel's order.
constexpr Count Interface::*columns[] = {
    &Interface::receiveBytes,       &Interface::receivePackets,     &Interface::receiveErrors,
    &Interface::receiveDrops,       &Interface::receiveFifoErrors,  &Interface::receiveFrameErrors,
    &Interface::receiveCompressed,  &Interface::receiveMulticast,   &Interface::transmitBytes,
    &Interface::transmitPackets,    &Interface::transmitErrors,     &Interface::transmitDrops,
    &Interface::transmitFifoErrors, &Interface::transmitCollisions, &Interface::transmitCarrierErrors,
    &Interface::transmitCompressed};

} // namespace

// Samples: "  eth0: 1731610    7145    0    0    0     0          0         0   566394    7143 ..."
//          "eth0:1:1731610    7145 ..."
// A name may hold a colon, the columns hold none; kernels before 2.6.36 may leave no blank after it.
bool parseInterfaceLine(const char *line, Interface &interface) {
    const char *first = skipSpaces(line);
    const char *end = first + std::strcspn(first, "\n");
    const auto *colon = static_cast<const char *>(memrchr(first, ':', static_cast<std::size_t>(end - first)));
    if (colon == nullptr || colon == first)
        return false;
    interface.name.assign(first, colon);
    const char *cursor = colon + 1;
    // What is no number is malformed, and the cursor stays before it; so is the rest of the line then.
    for (Count Interface::*column : columns)
        interface.*column = takeCount(cursor);
    return true;
}

} // namespace zel
