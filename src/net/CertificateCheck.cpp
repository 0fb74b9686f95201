#include "net/CertificateCheck.h"

#include <array>
#include <new>
#include <utility>

#include "common/CodePage.h"
#include "common/DetachedThread.h"
#include "common/Hex.h"

namespace {

constexpr std::size_t kSha256Bytes = 32;
constexpr std::size_t kMaxSubject = 120;  // of a text that a stranger chose

constexpr DWORD kUnknownRevocation = CERT_TRUST_REVOCATION_STATUS_UNKNOWN | CERT_TRUST_IS_OFFLINE_REVOCATION;

struct ChainDeleter {
    using pointer = PCCERT_CHAIN_CONTEXT;
    void operator()(PCCERT_CHAIN_CONTEXT chain) const { CertFreeCertificateChain(chain); }
};

ddt_datetime TimeOf(const FILETIME& time) {
    return {static_cast<std::int64_t>((static_cast<std::uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime)};
}

std::string SubjectOf(const CERT_CONTEXT& certificate) {
    CERT_NAME_BLOB name = certificate.pCertInfo->Subject;
    std::wstring text(kMaxSubject, L'\0');
    const DWORD length =
        CertNameToStrW(X509_ASN_ENCODING, &name, CERT_X500_NAME_STR, text.data(), static_cast<DWORD>(text.size()));
    text.resize(length > 0 ? length - 1 : 0);
    for (wchar_t& c : text)
        if (c < L' ' || c == 0x7F) c = L'?';
    return text.empty() ? "(no name)" : WideToNarrow(text);
}

CertificateFault FaultOf(DWORD error, const CERT_CONTEXT& certificate) {
    switch (static_cast<HRESULT>(error)) {
        case S_OK:
            return CertificateFault::None;
        case CERT_E_EXPIRED:
        case CERT_E_VALIDITYPERIODNESTING:
            return CertVerifyTimeValidity(nullptr, certificate.pCertInfo) < 0 ? CertificateFault::NotYetValid
                                                                              : CertificateFault::Expired;
        case CERT_E_CN_NO_MATCH:
            return CertificateFault::OtherName;
        case CERT_E_UNTRUSTEDROOT:
        case CERT_E_CHAINING:
        case CERT_E_UNTRUSTEDCA:
            return CertCompareCertificateName(X509_ASN_ENCODING, &certificate.pCertInfo->Subject,
                                              &certificate.pCertInfo->Issuer)
                       ? CertificateFault::SelfSigned
                       : CertificateFault::UnknownIssuer;
        default:
            return CertificateFault::Other;
    }
}

CCertificateCheck::Verdict Judge(const CERT_CONTEXT& certificate, std::wstring& host) {
    char usage[] = szOID_PKIX_KP_SERVER_AUTH;
    std::array<LPSTR, 1> usages = {usage};
    CERT_CHAIN_PARA parameters = {};
    parameters.cbSize = sizeof parameters;
    parameters.RequestedUsage.dwType = USAGE_MATCH_TYPE_OR;
    parameters.RequestedUsage.Usage = {static_cast<DWORD>(usages.size()), usages.data()};
    PCCERT_CHAIN_CONTEXT built = nullptr;
    if (!CertGetCertificateChain(nullptr, &certificate, nullptr, certificate.hCertStore, &parameters, 0, nullptr, &built))
        return {CertificateFault::Other, GetLastError()};
    const std::unique_ptr<const CERT_CHAIN_CONTEXT, ChainDeleter> chain(built);

    HTTPSPolicyCallbackData server = {};
    server.cbStruct = sizeof server;
    server.dwAuthType = AUTHTYPE_SERVER;
    server.pwszServerName = host.data();
    CERT_CHAIN_POLICY_PARA policy = {};
    policy.cbSize = sizeof policy;
    policy.pvExtraPolicyPara = &server;
    CERT_CHAIN_POLICY_STATUS status = {};
    status.cbSize = sizeof status;
    if (!CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_SSL, chain.get(), &policy, &status))
        return {CertificateFault::Other, GetLastError()};
    if (status.dwError != 0) return {FaultOf(status.dwError, certificate), status.dwError};
    // The policy alone lets a chain pass on some systems whose root is not there at all.
    const DWORD faults = chain->TrustStatus.dwErrorStatus & ~kUnknownRevocation;
    if (faults == 0) return {};
    const bool isPartial = (faults & (CERT_TRUST_IS_PARTIAL_CHAIN | CERT_TRUST_IS_UNTRUSTED_ROOT)) != 0;
    const DWORD error = isPartial ? static_cast<DWORD>(CERT_E_CHAINING) : static_cast<DWORD>(TRUST_E_CERT_SIGNATURE);
    return {FaultOf(error, certificate), error};
}

}  // namespace

CertificateFacts FactsOf(const CERT_CONTEXT& certificate) {
    std::array<std::uint8_t, kSha256Bytes> hash = {};
    DWORD size = static_cast<DWORD>(hash.size());
    CertificateFacts facts;
    if (CryptHashCertificate(0, CALG_SHA_256, 0, certificate.pbCertEncoded, certificate.cbCertEncoded, hash.data(), &size))
        facts.fingerprint = HexText(std::span(hash).first(size));
    facts.subject = SubjectOf(certificate);
    facts.validFrom = TimeOf(certificate.pCertInfo->NotBefore);
    facts.validTo = TimeOf(certificate.pCertInfo->NotAfter);
    return facts;
}

struct CCertificateCheck::Request {
    void Run() noexcept {
        Verdict made{CertificateFault::Other, ERROR_NOT_ENOUGH_MEMORY};
        try {
            made = Judge(*certificate, host);
        } catch (const std::bad_alloc&) {
            made.fault = CertificateFault::Other;
        }
        const std::lock_guard lock(mutex);
        verdict = made;
        if (done != nullptr) WSASetEvent(done);
    }

    const CertificateHandle certificate;
    std::wstring host;
    std::mutex mutex;
    std::optional<Verdict> verdict;
    WSAEVENT done;  // null: nobody waits any more
};

CCertificateCheck::CCertificateCheck(CertificateHandle certificate, std::wstring host, WSAEVENT done)
    : m_request(new Request{std::move(certificate), std::move(host), {}, {}, done}) {
    if (!StartDetached([request = m_request] { request->Run(); })) throw std::bad_alloc();
}

CCertificateCheck::~CCertificateCheck() {
    const std::lock_guard lock(m_request->mutex);
    m_request->done = nullptr;
}

std::optional<CCertificateCheck::Verdict> CCertificateCheck::Take() {
    const std::lock_guard lock(m_request->mutex);
    return std::exchange(m_request->verdict, std::nullopt);
}
