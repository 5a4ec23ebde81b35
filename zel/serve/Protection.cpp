// Reads token, certificate and key, and refuses to show a host to a network without any of them.
#include "zel/serve/Protection.h"

#include "zel/serve/HostCheck.h"
#include "zel/serve/SecretFile.h"

namespace zel {

Protection readProtection(const ServeSettings &settings, std::string &problem) {
    Protection protection;
    const std::string open = firstOpen(settings.listen, problem);
    if (!problem.empty())
        return protection;
    if (settings.certificateFile.empty() != settings.keyFile.empty()) {
        problem = "TLS needs both a certificate and its key";
        return protection;
    }
    const bool isProtected = !settings.tokenFile.empty() || !settings.certificateFile.empty();
    if (!open.empty() && !isProtected && !settings.listenUnprotected) {
        problem = "it would show this host to everybody who reaches " + open +
                  ": give it a token file or a certificate and key, listen on 127.0.0.1 only, or say "
                  "listen-unprotected";
        return protection;
    }
    if (!settings.tokenFile.empty())
        protection.token = readToken(settings.tokenFile, problem);
    if (problem.empty() && !settings.certificateFile.empty())
        protection.tls.certificate = readCertificate(settings.certificateFile, problem);
    if (problem.empty() && !settings.keyFile.empty())
        protection.tls.key = readKey(settings.keyFile, problem);
    return protection;
}

} // namespace zel
