#include "net/TlsLink.h"
// After winsock2.h:
#include <winternl.h>
#define SCHANNEL_USE_BLACKLISTS
#include <schannel.h>
#include <utility>
#include "common/CodePage.h"
#include "net/HostLookup.h"

namespace {

constexpr std::size_t kLongestHandshake = std::size_t{256} * 1024;  // bytes; certificates of a chain are some thousands
constexpr char kHandshakeRecord = 22;
constexpr char kMajorVersion = 3;
constexpr std::size_t kAlertBytes = 7;  // the record's head, the level, the alert:
constexpr char kHandshakeFailure = 40;
constexpr char kProtocolVersion = 70;
constexpr char kInsufficientSecurity = 71;

constexpr char kNoAnswer[] = "The server does not answer the TLS handshake (is this its port for TLS?)";
constexpr char kClosed[] = "The server closed the connection in the middle of the TLS handshake (is this its port for TLS?)";
constexpr char kNoVerdict[] = "Windows does not come to an end with checking the certificate of the pool's server";
constexpr char kNoTls[] = "The server does not speak TLS on this port";

SECURITY_STATUS Acquire(void* data, CredHandle& credentials) {
    wchar_t package[] = UNISP_NAME_W;
    return AcquireCredentialsHandleW(nullptr, package, SECPKG_CRED_OUTBOUND, nullptr, data, nullptr, nullptr, &credentials,
                                     nullptr);
}

constexpr DWORD kCredentialFlags = SCH_CRED_MANUAL_CRED_VALIDATION | SCH_CRED_NO_DEFAULT_CREDS;

// TLS 1.2 and, where the system has it, 1.3.
SECURITY_STATUS AcquireCredentials(CredHandle& credentials) {
    TLS_PARAMETERS parameters = {};
    parameters.grbitDisabledProtocols = ~static_cast<DWORD>(SP_PROT_TLS1_2_CLIENT | SP_PROT_TLS1_3_CLIENT);
    SCH_CREDENTIALS present = {};
    present.dwVersion = SCH_CREDENTIALS_VERSION;
    present.dwFlags = kCredentialFlags | SCH_USE_STRONG_CRYPTO;
    present.cTlsParameters = 1;
    present.pTlsParameters = &parameters;
    if (Acquire(&present, credentials) == SEC_E_OK) return SEC_E_OK;
    SCHANNEL_CRED earlier = {};  // before Windows 10 1809
    earlier.dwVersion = SCHANNEL_CRED_VERSION;
    earlier.dwFlags = kCredentialFlags;
    earlier.grbitEnabledProtocols = SP_PROT_TLS1_2_CLIENT;
    return Acquire(&earlier, credentials);
}

std::string ProtocolName(DWORD protocol) {
    if ((protocol & SP_PROT_TLS1_3_CLIENT) != 0) return "TLS 1.3";
    if ((protocol & SP_PROT_TLS1_2_CLIENT) != 0) return "TLS 1.2";
    return "TLS";
}

std::string StatusText(SECURITY_STATUS status) {
    switch (status) {
        case SEC_E_ALGORITHM_MISMATCH:
        case SEC_E_UNSUPPORTED_FUNCTION:
            return "No version of TLS that this PC and the server both have (an old Windows 7?)";
        default: {
            const std::string text = SystemMessage(static_cast<std::uint32_t>(status));
            return "The TLS handshake failed: " + (text.empty() ? "code " + std::to_string(status) : text);
        }
    }
}

}  // namespace

void CTlsLink::Begin() {
    m_phase = Phase::Handshake;
    m_failure = LinkFailure{kNoAnswer, SystemCode(WSAETIMEDOUT)};  // while it lasts
    if (const SECURITY_STATUS status = AcquireCredentials(m_credentials); status != SEC_E_OK) {
        Fail(static_cast<std::uint32_t>(status),
             "This PC offers no encryption by TLS 1.2: " + SystemMessage(static_cast<std::uint32_t>(status)));
        return;
    }
    Step();
}

// With what has come, as far as it goes.
void CTlsLink::ShakeHands() {
    while (m_phase == Phase::Handshake && m_isReadable) {
        const std::size_t before = m_end;
        if (!Read()) return Fail(SystemCode(m_readError), kClosed);
        m_handshakeBytes += m_end - before;
        if (m_handshakeBytes > kLongestHandshake)
            return Fail(SystemCode(WSAEMSGSIZE), "The server's TLS handshake never ends");
        while (m_phase == Phase::Handshake && m_begin != m_end && Step()) {
        }
        if (m_phase == Phase::Handshake && m_end - m_begin == m_in.size()) FailInHandshake(SEC_E_ILLEGAL_MESSAGE);
    }
    if (m_phase == Phase::Handshake && m_closed) Fail(SystemCode(WSAECONNRESET), kClosed);
}

// One call of the system. False: it needs more bytes, or all is over.
bool CTlsLink::Step() {
    const bool isFirst = !IsValid(m_context);
    if (IsFirstAnswer() && !LooksLikeTls()) {
        FailInHandshake(SEC_E_ILLEGAL_MESSAGE);
        return false;
    }
    std::array in = {Buffer(SECBUFFER_TOKEN, m_in.data() + m_begin, m_end - m_begin), Buffer(SECBUFFER_EMPTY)};
    std::array out = {Buffer(SECBUFFER_TOKEN), Buffer(SECBUFFER_ALERT)};
    SecBufferDesc input = Description(in);
    SecBufferDesc output = Description(out);
    DWORD attributes = 0;
    const SECURITY_STATUS status = InitializeSecurityContextW(&m_credentials, isFirst ? nullptr : &m_context, m_host.data(),
                                                              kRequirements, 0, 0, isFirst ? nullptr : &input, 0,
                                                              isFirst ? &m_context : nullptr, &output, &attributes, nullptr);
    const bool isSent = SendToken(out[0]);
    for (const SecBuffer& buffer : out)
        if (buffer.pvBuffer != nullptr) FreeContextBuffer(buffer.pvBuffer);
    if (status == SEC_E_INCOMPLETE_MESSAGE) return false;
    // It asks for a certificate of ours: once more, without one.
    if (status == SEC_I_INCOMPLETE_CREDENTIALS && !std::exchange(m_isAskedForCertificate, true)) return true;
    if (FAILED(status) || status == SEC_I_INCOMPLETE_CREDENTIALS) {
        FailInHandshake(status);
        return false;
    }
    const SecBuffer* const extra = Find(in, SECBUFFER_EXTRA);
    m_begin = extra != nullptr ? m_end - extra->cbBuffer : m_end;
    if (!isSent) {
        Fail(SystemCode(WSAECONNRESET), kClosed);
        return false;
    }
    if (status == SEC_E_OK) HandshakeDone();
    return status == SEC_I_CONTINUE_NEEDED;
}

void CTlsLink::HandshakeDone() {
    if (m_phase == Phase::Renewing) {
        m_phase = Phase::Open;
        return;
    }
    const SECURITY_STATUS status = QueryContextAttributesW(&m_context, SECPKG_ATTR_STREAM_SIZES, &m_sizes);
    if (status != SEC_E_OK) return FailInHandshake(status);
    m_out.resize(m_sizes.cbHeader + m_sizes.cbMaximumMessage + m_sizes.cbTrailer);
    BeginCheck();
}

bool CTlsLink::SendToken(const SecBuffer& token) {
    if (token.cbBuffer == 0 || token.pvBuffer == nullptr) return true;
    const LinkTransfer sent = m_carrier->Send({static_cast<const char*>(token.pvBuffer), token.cbBuffer});
    return sent.error == 0 && sent.bytes == token.cbBuffer;
}

void CTlsLink::BeginCheck() {
    PCCERT_CONTEXT given = nullptr;
    const SECURITY_STATUS status = QueryContextAttributesW(&m_context, SECPKG_ATTR_REMOTE_CERT_CONTEXT, &given);
    if (status != SEC_E_OK || given == nullptr) return FailInHandshake(status);
    CertificateHandle certificate(given);
    m_certificate = FactsOf(*certificate);
    m_phase = Phase::Checking;
    const bool isAskedOfSystem = !m_asked.isUnchecked && m_asked.fingerprint.empty();
    m_failure = LinkFailure{kNoVerdict, SystemCode(WSAETIMEDOUT)};  // while it lasts
    if (isAskedOfSystem) m_check = std::make_unique<CCertificateCheck>(std::move(certificate), m_host, m_event);
}

void CTlsLink::FinishCheck() {
    CCertificateCheck::Verdict verdict;
    if (m_check) {
        const auto taken = m_check->Take();
        if (!taken) return;
        verdict = *taken;
        m_check.reset();
    }
    const auto refusal = Refusal(m_asked, m_certificate, verdict.fault, verdict.code, WideToNarrow(m_host));
    if (refusal) return Fail(verdict.code != 0 ? verdict.code : static_cast<std::uint32_t>(CERT_E_UNTRUSTEDROOT), *refusal);
    m_failure.reset();
    m_phase = Phase::Open;
}

void CTlsLink::Fail(std::uint32_t code, std::string text) {
    m_failure = LinkFailure{std::move(text), code};
    m_phase = Phase::Ended;
}

void CTlsLink::FailInHandshake(SECURITY_STATUS status) {
    if (!IsFirstAnswer()) return Fail(static_cast<std::uint32_t>(status), StatusText(status));
    if (!LooksLikeTls()) return Fail(static_cast<std::uint32_t>(status), kNoTls);
    // Some systems tell nothing of the alert that they got.
    const bool isAlert = m_end >= kAlertBytes && m_in[0] == kAlertRecord;
    const char alert = isAlert ? m_in[kAlertBytes - 1] : '\0';
    const bool isNoCommon = alert == kHandshakeFailure || alert == kProtocolVersion || alert == kInsufficientSecurity;
    Fail(static_cast<std::uint32_t>(status), StatusText(isNoCommon ? SEC_E_ALGORITHM_MISMATCH : status));
}

// What is there is all that the server has sent yet.
bool CTlsLink::IsFirstAnswer() const {
    return m_phase == Phase::Handshake && m_begin == 0 && m_end != 0 && m_handshakeBytes == m_end;
}

bool CTlsLink::LooksLikeTls() const {
    return (m_in[0] == kHandshakeRecord || m_in[0] == kAlertRecord) && (m_end < 2 || m_in[1] == kMajorVersion);
}

std::string CTlsLink::Protection() const {
    SecPkgContext_ConnectionInfo info = {};
    CtxtHandle context = m_context;
    const bool isKnown = QueryContextAttributesW(&context, SECPKG_ATTR_CONNECTION_INFO, &info) == SEC_E_OK;
    return "Encrypted by " + ProtocolName(isKnown ? info.dwProtocol : 0) + "; certificate " + TrustText(m_asked) + ": " +
           CertificateText(m_certificate);
}

void CTlsLink::SayGoodbye() {
    DWORD shutdown = SCHANNEL_SHUTDOWN;
    std::array in = {Buffer(SECBUFFER_TOKEN, &shutdown, sizeof shutdown)};
    SecBufferDesc input = Description(in);
    if (FAILED(ApplyControlToken(&m_context, &input))) return;
    std::array out = {Buffer(SECBUFFER_TOKEN)};
    SecBufferDesc output = Description(out);
    DWORD attributes = 0;
    const SECURITY_STATUS status = InitializeSecurityContextW(&m_credentials, &m_context, m_host.data(), kRequirements, 0, 0,
                                                              nullptr, 0, nullptr, &output, &attributes, nullptr);
    if (!FAILED(status)) SendToken(out[0]);
    if (out[0].pvBuffer != nullptr) FreeContextBuffer(out[0].pvBuffer);
}
