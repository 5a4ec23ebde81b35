// The files that protect the server: token, certificate, key. Read at start and with each reload.
#pragma once

#include <cstddef>
#include <string>

namespace zel {

inline constexpr std::size_t TOKEN_LEAST = 16, TOKEN_MOST = 1024; // characters
inline constexpr std::size_t PEM_MOST = std::size_t{1} << 20U;    // bytes of a certificate or key file

/// The token of a file that holds it in one line. Nobody but root and the own user may write the file or what is above
/// it, and others than owner and group may not read it. Empty, and what is wrong in `problem`, for anything else.
std::string readToken(const std::string &path, std::string &problem);

/// A private key, under the same rule.
std::string readKey(const std::string &path, std::string &problem);
/// A certificate, which everybody may read.
std::string readCertificate(const std::string &path, std::string &problem);

} // namespace zel
