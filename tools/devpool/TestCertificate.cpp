#include "TestCertificate.h"

#include <openssl/rand.h>
#include <openssl/x509v3.h>
#include <array>
#include <fstream>
#include <stdexcept>

#include "common/Hex.h"

namespace {

constexpr long kDay = 24L * 60 * 60;
constexpr char kCurve[] = "P-256";

void Check(bool worked) {
    if (!worked) throw std::runtime_error("cannot make a certificate");
}

KeyPointer MakeKey() {
    KeyPointer key(EVP_EC_gen(kCurve));
    Check(key != nullptr);
    return key;
}

void AddExtension(X509& certificate, X509& issuer, int id, const char* value) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, &issuer, &certificate, nullptr, nullptr, 0);
    X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, &context, id, value);
    Check(extension != nullptr && X509_add_ext(&certificate, extension, -1) == 1);
    X509_EXTENSION_free(extension);
}

// Valid from "from" days on for "days"; not signed yet.
CertificatePointer Make(const char* name, EVP_PKEY& key, long from, long days) {
    CertificatePointer certificate(X509_new());
    Check(certificate != nullptr);
    std::uint32_t number = 0;
    RAND_bytes(reinterpret_cast<unsigned char*>(&number), sizeof number);
    X509_set_version(certificate.get(), X509_VERSION_3);
    ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate.get()), number);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), from * kDay);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), (from + days) * kDay);
    X509_set_pubkey(certificate.get(), &key);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>(name), -1, -1, 0);
    return certificate;
}

void Sign(X509& certificate, X509& issuer, EVP_PKEY& issuerKey) {
    X509_set_issuer_name(&certificate, X509_get_subject_name(&issuer));
    Check(X509_sign(&certificate, &issuerKey, EVP_sha256()) > 0);
}

std::string FingerprintOf(X509& certificate) {
    std::array<std::uint8_t, EVP_MAX_MD_SIZE> hash = {};
    unsigned size = 0;
    Check(X509_digest(&certificate, EVP_sha256(), hash.data(), &size) == 1);
    return HexText(std::span(hash).first(size));
}

}  // namespace

TestCertificate MakeTestCertificate(TlsCertificate kind) {
    const bool isOther = kind == TlsCertificate::OtherName;
    TestCertificate made;
    made.key = MakeKey();
    made.certificate = Make(isOther ? "elsewhere.example" : "localhost", *made.key,
                            kind == TlsCertificate::Expired ? -30 : -1, kind == TlsCertificate::Expired ? 10 : 365);
    X509& leaf = *made.certificate;
    AddExtension(leaf, leaf, NID_subject_alt_name, isOther ? "DNS:elsewhere.example" : "DNS:localhost,IP:127.0.0.1");
    AddExtension(leaf, leaf, NID_ext_key_usage, "serverAuth");
    if (kind == TlsCertificate::SelfSigned) {
        Sign(leaf, leaf, *made.key);
    } else {
        const KeyPointer rootKey = MakeKey();
        // Each has its name, so that one which a PC knows is not taken for another.
        std::uint32_t number = 0;
        RAND_bytes(reinterpret_cast<unsigned char*>(&number), sizeof number);
        made.root = Make(("Quorvel test root " + std::to_string(number)).c_str(), *rootKey, -60, 3650);
        AddExtension(*made.root, *made.root, NID_basic_constraints, "critical,CA:TRUE");
        AddExtension(*made.root, *made.root, NID_key_usage, "critical,keyCertSign,cRLSign");
        Sign(*made.root, *made.root, *rootKey);
        Sign(leaf, *made.root, *rootKey);
    }
    made.fingerprint = FingerprintOf(leaf);
    return made;
}

void WriteCertificate(X509& certificate, const std::string& file) {
    unsigned char* bytes = nullptr;
    const int size = i2d_X509(&certificate, &bytes);
    Check(size > 0);
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes), size);
    OPENSSL_free(bytes);
    if (!out.flush()) throw std::runtime_error("cannot write " + file);
}
