#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include "common/PoolAddress.h"
#include "common/Time.h"

// What a person needs to know of a server's certificate. Narrow texts.
struct CertificateFacts {
    std::string subject;      // "CN=pool.example, O=..."
    std::string fingerprint;  // SHA-256, 64 digits in lower case
    ddt_datetime validFrom;   // UTC
    ddt_datetime validTo;
};

// What is wrong with a certificate, as the system judges it.
enum class CertificateFault { None, Expired, NotYetValid, OtherName, SelfSigned, UnknownIssuer, Other };

// "CN=pool.example, valid 2026-01-31 to 2027-01-31, sha256=...".
std::string CertificateText(const CertificateFacts& facts);

// Why the certificate is not taken; nothing: it is. fault and code: the system's judgement, used only when the address names
// neither a fingerprint nor that nothing is to be checked. host: the name that was asked for.
std::optional<std::string> Refusal(const PoolEncryption& asked, const CertificateFacts& facts, CertificateFault fault,
                                   std::uint32_t code, const std::string& host);

// How the certificate was found good, for the log.
std::string TrustText(const PoolEncryption& asked);
