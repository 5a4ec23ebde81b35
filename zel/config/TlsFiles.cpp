// Reads certificates and keys with GnuTLS, which the HTTP library uses too.
#include "zel/config/TlsFiles.h"

#include "zel/serve/SecretFile.h"

#include <ctime>
#ifdef ZEL_HAS_GNUTLS
#include <gnutls/gnutls.h>
#include <gnutls/x509.h>
#include <memory>
#endif

namespace zel {

#ifdef ZEL_HAS_GNUTLS

namespace {

struct CredentialsEnd {
    void operator()(gnutls_certificate_credentials_t credentials) const {
        gnutls_certificate_free_credentials(credentials);
    }
};
using Credentials = std::unique_ptr<std::remove_pointer_t<gnutls_certificate_credentials_t>, CredentialsEnd>;

struct CertificateEnd {
    void operator()(gnutls_x509_crt_t certificate) const { gnutls_x509_crt_deinit(certificate); }
};
using Certificate = std::unique_ptr<std::remove_pointer_t<gnutls_x509_crt_t>, CertificateEnd>;

gnutls_datum_t datumOf(std::string &text) {
    return {reinterpret_cast<unsigned char *>(text.data()), static_cast<unsigned>(text.size())};
}

Credentials newCredentials() {
    gnutls_certificate_credentials_t made = nullptr;
    gnutls_certificate_allocate_credentials(&made);
    return Credentials(made);
}

// Of the first certificate, which is the server's own.
std::string problemOfTime(std::string &pem) {
    gnutls_x509_crt_t made = nullptr;
    if (gnutls_x509_crt_init(&made) != GNUTLS_E_SUCCESS)
        return {};
    const Certificate certificate(made);
    const gnutls_datum_t datum = datumOf(pem);
    if (gnutls_x509_crt_import(certificate.get(), &datum, GNUTLS_X509_FMT_PEM) != GNUTLS_E_SUCCESS)
        return {};
    const std::time_t now = std::time(nullptr);
    if (gnutls_x509_crt_get_expiration_time(certificate.get()) < now)
        return "its time is over";
    return gnutls_x509_crt_get_activation_time(certificate.get()) > now ? "its time has not begun" : "";
}

std::string problemOfPair(std::string &certificate, std::string &key) {
    const Credentials credentials = newCredentials();
    if (credentials == nullptr)
        return {};
    const gnutls_datum_t certificateDatum = datumOf(certificate), keyDatum = datumOf(key);
    const int result =
        gnutls_certificate_set_x509_key_mem(credentials.get(), &certificateDatum, &keyDatum, GNUTLS_X509_FMT_PEM);
    return result < 0 ? gnutls_strerror(result) : "";
}

} // namespace

std::vector<std::string> problemsOfTls(const std::string &certificateFile, const std::string &keyFile) {
    std::string problemOfCertificate, problemOfKey;
    std::string certificate = readCertificate(certificateFile, problemOfCertificate);
    std::string key = readKey(keyFile, problemOfKey);
    std::vector<std::string> problems;
    if (!problemOfCertificate.empty())
        problems.push_back("certificate " + problemOfCertificate);
    if (!problemOfKey.empty())
        problems.push_back("key " + problemOfKey);
    if (problems.empty()) {
        if (const std::string problem = problemOfPair(certificate, key); !problem.empty())
            problems.push_back("certificate " + certificateFile + " with key " + keyFile + ": " + problem);
        else if (const std::string time = problemOfTime(certificate); !time.empty())
            problems.push_back("certificate " + certificateFile + ": " + time);
    }
    return problems;
}

#else

std::vector<std::string> problemsOfTls(const std::string &certificateFile, const std::string &) {
    return {"certificate " + certificateFile + ": this zel is built without TLS"};
}

#endif

} // namespace zel
