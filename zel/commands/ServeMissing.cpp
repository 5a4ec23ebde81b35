// `zel serve` and `zel check` of a zel that is built without its server.
#include "zel/Output.h"
#include "zel/commands/Commands.h"

namespace zel {

namespace {

constexpr std::string_view about = "This zel is built without its server: libmicrohttpd, zlib and zstd were missing.";
constexpr Example exitStatus[] = {{"1", "always"}};

int runNothing(const Command &command, const Arguments &) {
    complain(std::string(command.name) +
             ": this zel is built without its server (Debian: libmicrohttpd-dev, zlib1g-dev, "
             "libzstd-dev)");
    return EXIT_FAILED;
}

} // namespace

const Command serveCommand{"serve", "", "this host over HTTP (not built)", about, {}, {}, exitStatus, runNothing};
const Command checkCommand{"check",    "[FILE]",  "what the configuration does (not built)", about, {}, {},
                           exitStatus, runNothing};

} // namespace zel
