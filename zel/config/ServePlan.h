// What settings of the server mean: what is wrong with them, and what they do in words.
#pragma once

#include "zel/serve/ServeSettings.h"

#include <string>
#include <vector>

namespace zel {

/// What is wrong with the settings together, and with the files and directories that they name as this user sees them:
/// a token that is none, a certificate that is not that of the key or whose time is over. Nothing is listened to, and
/// credentials are not looked at.
std::vector<std::string> problemsOf(const ServeSettings &settings);

/// Those of the files that systemd makes for the service alone (LoadCredential=).
std::vector<std::string> credentialsOf(const ServeSettings &settings);

/// Sentences for the administrator: where it listens, who may read, what is sampled, what leaves the machine.
std::vector<std::string> planOf(const ServeSettings &settings);

} // namespace zel
