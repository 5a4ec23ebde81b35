// Reads secrets with a look at who else could have.
#include "zel/serve/SecretFile.h"

#include "host/TrustedWay.h"
#include "zel/SmallFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <sys/stat.h>

namespace zel {

namespace {

// The rule of the way holds from the root on: a relative path would be judged by that of the agent's home.
std::string readTrusted(const std::string &path, std::size_t most, bool isSecret, std::string &problem) {
    WayFinding finding;
    std::error_code error; // the path stays as it is
    const std::string absolute = std::filesystem::absolute(path, error).string();
    const ScopedDescriptor file = openOnTrustedWay(error ? path.c_str() : absolute.c_str(), finding);
    if (!file.valid()) {
        problem = path + ": " + (finding.exists && !finding.trusted ? finding.reason : std::strerror(errno));
        return {};
    }
    struct stat status {};
    if (isSecret && fstat(file.get(), &status) != 0) {
        problem = path + ": " + std::strerror(errno);
        return {};
    }
    if (isSecret && (status.st_mode & S_IRWXO) != 0) {
        problem = path + ": everybody may read it; a secret is for its owner and group (chmod o= " + path + ")";
        return {};
    }
    std::string text;
    if (const int wrong = readToEnd(file.get(), most, text); wrong != 0) {
        problem = path + ": " + std::strerror(wrong);
        return {};
    }
    if (text.empty())
        problem = path + ": the file is empty";
    return text;
}

} // namespace

std::string readToken(const std::string &path, std::string &problem) {
    std::string token = readTrusted(path, TOKEN_MOST + 2, true, problem); // and its line end
    if (!problem.empty())
        return {};
    while (!token.empty() && (token.back() == '\n' || token.back() == '\r'))
        token.pop_back();
    const bool isPlain = std::all_of(token.begin(), token.end(), [](char byte) { return byte > ' ' && byte <= '~'; });
    if (isPlain && token.size() >= TOKEN_LEAST && token.size() <= TOKEN_MOST)
        return token;
    problem = path + ": a token is one line of " + std::to_string(TOKEN_LEAST) + " to " + std::to_string(TOKEN_MOST) +
              " printable characters without blanks, such as openssl rand -hex 32 gives";
    return {};
}

std::string readKey(const std::string &path, std::string &problem) {
    return readTrusted(path, PEM_MOST, true, problem);
}

std::string readCertificate(const std::string &path, std::string &problem) {
    return readTrusted(path, PEM_MOST, false, problem);
}

} // namespace zel
