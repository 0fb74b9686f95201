#include "net/CertificateText.h"

#include <array>
#include <chrono>
#include <cstdio>

namespace {

std::string DateOf(ddt_datetime time) {
    constexpr std::chrono::sys_days kTicksBegin = std::chrono::year(1601) / 1 / 1;
    const std::chrono::year_month_day date(kTicksBegin + std::chrono::days(time.ticks / kTicksPerDay));
    std::array<char, 40> text = {};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02u", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
    return text.data();
}

std::string HexCode(std::uint32_t code) {
    std::array<char, 12> text = {};
    std::snprintf(text.data(), text.size(), "0x%08X", static_cast<unsigned>(code));
    return text.data();
}

std::string FaultText(CertificateFault fault, std::uint32_t code, const std::string& host) {
    switch (fault) {
        case CertificateFault::Expired:
            return "The certificate of the pool's server has expired";
        case CertificateFault::NotYetValid:
            return "The certificate of the pool's server is not valid yet (is this PC's clock right?)";
        case CertificateFault::OtherName:
            return "The certificate of the pool's server is for another name than " + host;
        case CertificateFault::SelfSigned:
            return "The certificate of the pool's server is signed by itself (to trust it, enter its fingerprint)";
        case CertificateFault::UnknownIssuer:
            return "The certificate of the pool's server is signed by somebody whom this PC does not know (to trust it, "
                   "enter "
                   "its fingerprint)";
        default:
            return "The certificate of the pool's server is not good (" + HexCode(code) + ")";
    }
}

}  // namespace

std::string CertificateText(const CertificateFacts& facts) {
    return facts.subject + ", valid " + DateOf(facts.validFrom) + " to " + DateOf(facts.validTo) +
           ", sha256=" + facts.fingerprint;
}

std::optional<std::string> Refusal(const PoolEncryption& asked, const CertificateFacts& facts, CertificateFault fault,
                                   std::uint32_t code, const std::string& host) {
    if (asked.isUnchecked) return std::nullopt;
    if (!asked.fingerprint.empty()) {
        if (asked.fingerprint == facts.fingerprint) return std::nullopt;
        return "The pool's server has another certificate than the one whose fingerprint is entered: " +
               CertificateText(facts);
    }
    if (fault == CertificateFault::None) return std::nullopt;
    return FaultText(fault, code, host) + ": " + CertificateText(facts);
}

std::string TrustText(const PoolEncryption& asked) {
    if (asked.isUnchecked) return "NOT CHECKED";
    return asked.fingerprint.empty() ? "checked" : "the one that is entered";
}
