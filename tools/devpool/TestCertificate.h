#pragma once
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <memory>
#include <string>

#include "Options.h"

struct OpenSslDeleter {
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
using CertificatePointer = std::unique_ptr<X509, OpenSslDeleter>;
using KeyPointer = std::unique_ptr<EVP_PKEY, OpenSslDeleter>;

// A server's certificate made for a test, with new keys.
struct TestCertificate {
    KeyPointer key;
    CertificatePointer certificate;
    CertificatePointer root;  // that signed it; null: it is signed by itself
    std::string fingerprint;  // SHA-256, lower case
};

// kind: not None. Throws std::runtime_error.
TestCertificate MakeTestCertificate(TlsCertificate kind);
// As DER. Throws std::runtime_error.
void WriteCertificate(X509& certificate, const std::string& file);
