// The certificate and the key of a server, looked at before anything listens.
#pragma once

#include <string>
#include <vector>

namespace zel {

/// What keeps the two files from serving: unreadable, no PEM, not of each other, a time that is over or has not begun.
std::vector<std::string> problemsOfTls(const std::string &certificateFile, const std::string &keyFile);

} // namespace zel
