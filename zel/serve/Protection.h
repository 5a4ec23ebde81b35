// What protects the server, read from the files that the settings name, and whether that is enough for where it
// listens.
#pragma once

#include "zel/serve/HttpDaemon.h"
#include "zel/serve/ServeSettings.h"

#include <string>

namespace zel {

struct Protection {
    std::string token;
    TlsTexts tls;
};

/// `problem` says what is wrong and what would be right.
Protection readProtection(const ServeSettings &settings, std::string &problem);

} // namespace zel
