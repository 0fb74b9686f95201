#include "net/TlsLink.h"
// After winsock2.h:
#include <winternl.h>
#define SCHANNEL_USE_BLACKLISTS
#include <schannel.h>
#include <algorithm>
#include <array>
#include <cstring>
#include <utility>
#include "common/CodePage.h"
#include "net/HostLookup.h"

namespace {

constexpr std::size_t kInputArea = std::size_t{32} * 1024;          // holds the longest record
constexpr std::size_t kLongestHandshake = std::size_t{256} * 1024;  // bytes; certificates of a chain are some thousands
constexpr std::size_t kMostHeld = std::size_t{64} * 1024;
constexpr DWORD kRequirements = ISC_REQ_SEQUENCE_DETECT | ISC_REQ_REPLAY_DETECT | ISC_REQ_CONFIDENTIALITY |
                                ISC_REQ_EXTENDED_ERROR | ISC_REQ_ALLOCATE_MEMORY | ISC_REQ_STREAM |
                                ISC_REQ_MANUAL_CRED_VALIDATION | ISC_REQ_USE_SUPPLIED_CREDS;
constexpr char kHandshakeRecord = 22;
constexpr char kAlertRecord = 21;
constexpr char kMajorVersion = 3;
constexpr std::size_t kAlertBytes = 7;  // the record's head, the level, the alert:
constexpr char kHandshakeFailure = 40;
constexpr char kProtocolVersion = 70;
constexpr char kInsufficientSecurity = 71;

constexpr char kNoAnswer[] = "The server does not answer the TLS handshake (is this its port for TLS?)";
constexpr char kClosed[] = "The server closed the connection in the middle of the TLS handshake (is this its port for TLS?)";
constexpr char kNoTls[] = "The server does not speak TLS on this port";

// A code of Windows Sockets among those of encryption.
constexpr std::uint32_t SystemCode(std::uint32_t socketCode) {
    return 0x80070000U | socketCode;
}

constexpr SecHandle kNoHandle = {~ULONG_PTR{0}, ~ULONG_PTR{0}};

bool IsValid(const SecHandle& handle) {
    return handle.dwLower != kNoHandle.dwLower || handle.dwUpper != kNoHandle.dwUpper;
}

SecBuffer Buffer(unsigned long type, void* data = nullptr, std::size_t size = 0) {
    return {static_cast<unsigned long>(size), type, data};
}

template <std::size_t Count>
SecBufferDesc Description(std::array<SecBuffer, Count>& buffers) {
    return {SECBUFFER_VERSION, static_cast<unsigned long>(Count), buffers.data()};
}

template <std::size_t Count>
const SecBuffer* Find(const std::array<SecBuffer, Count>& buffers, unsigned long type) {
    const auto found = std::ranges::find(buffers, type, &SecBuffer::BufferType);
    return found == buffers.end() ? nullptr : &*found;
}

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

CTlsLink::CTlsLink(WSAEVENT dataEvent, std::wstring host, PoolEncryption asked)
    : m_event(dataEvent),
      m_host(std::move(host)),
      m_asked(std::move(asked)),
      m_tcp(dataEvent),
      m_credentials(kNoHandle),
      m_context(kNoHandle),
      m_in(kInputArea) {}

CTlsLink::~CTlsLink() {
    if (m_phase == Phase::Open) SayGoodbye();
    if (IsValid(m_context)) DeleteSecurityContext(&m_context);
    if (IsValid(m_credentials)) FreeCredentialsHandle(&m_credentials);
}

std::uint32_t CTlsLink::Connect(const HostAddress& address, std::uint32_t port) {
    return m_tcp.Connect(address, port);
}

LinkEvents CTlsLink::TakeEvents() {
    LinkEvents events = m_tcp.TakeEvents();
    if (const std::uint32_t broken = m_broken) events.failed = broken;
    if (events.failed) return events;
    if (m_phase == Phase::Connecting) {
        if (!events.connected || *events.connected != 0) return events;
        Begin();
    }
    m_isReadable = m_isReadable || events.readable;
    if (events.readable) m_readError = *events.readable;
    if (events.closed) m_closed = events.closed;
    LinkEvents result;
    if (!IsUsable()) {
        if (m_phase == Phase::Handshake) ShakeHands();
        if (m_phase == Phase::Checking) FinishCheck();
        if (m_phase == Phase::Handshake && m_closed) Fail(SystemCode(WSAECONNRESET), kClosed);
        if (m_phase == Phase::Ended) result.connected = m_failure ? m_failure->code : SystemCode(WSAECONNRESET);
        if (m_phase != Phase::Open) return result;
        result.connected = 0;
    }
    if (HasPending()) result.readable = m_readError;
    result.closed = m_closed;
    return result;
}

// ---- The handshake -------------------------------------------------------------------------------------------------------

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
    if (status == SEC_I_INCOMPLETE_CREDENTIALS) return true;  // it asks for a certificate of ours: once more, without one
    if (FAILED(status)) {
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
    const LinkTransfer sent = m_tcp.Send({static_cast<const char*>(token.pvBuffer), token.cbBuffer});
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
    return m_begin == 0 && m_end != 0 && m_handshakeBytes == m_end;
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

// ---- Records -------------------------------------------------------------------------------------------------------------

// Reads the socket once, into the room behind what is there. False: it cannot be read any more.
bool CTlsLink::Read() {
    if (m_plain.empty() && m_begin > 0) {
        std::memmove(m_in.data(), m_in.data() + m_begin, m_end - m_begin);
        m_end -= std::exchange(m_begin, 0);
    }
    m_isReadable = false;
    const LinkTransfer read = m_tcp.Receive(std::span(m_in).subspan(m_end));
    m_readError = read.error;
    m_end += read.bytes;
    return read.error == 0;
}

LinkTransfer CTlsLink::Receive(std::span<char> area) {
    while (m_plain.empty()) {
        switch (m_begin == m_end ? Decrypted::Incomplete : Decrypt()) {
            case Decrypted::Plain:
            case Decrypted::Again:
                break;
            case Decrypted::Ended:
                m_closed = 0;
                WSASetEvent(m_event);
                return {};
            case Decrypted::Failed:
                return {m_readError, 0};
            case Decrypted::Incomplete: {
                const std::size_t before = m_end - m_begin;
                if (!Read()) return {m_readError, 0};
                if (m_end - m_begin == before) return {};
            }
        }
    }
    const std::size_t bytes = std::min(area.size(), m_plain.size());
    std::memcpy(area.data(), m_plain.data(), bytes);
    m_plain = m_plain.subspan(bytes);
    if (HasPending()) WSASetEvent(m_event);
    return {0, bytes};
}

CTlsLink::Decrypted CTlsLink::Decrypt() {
    if (m_phase == Phase::Renewing)
        return Renew() ? Decrypted::Again : m_phase == Phase::Ended ? Decrypted::Failed : Decrypted::Incomplete;
    std::array buffers = {Buffer(SECBUFFER_DATA, m_in.data() + m_begin, m_end - m_begin), Buffer(SECBUFFER_EMPTY),
                          Buffer(SECBUFFER_EMPTY), Buffer(SECBUFFER_EMPTY)};
    SecBufferDesc description = Description(buffers);
    const SECURITY_STATUS status = DecryptMessage(&m_context, &description, 0, nullptr);
    if (status == SEC_E_INCOMPLETE_MESSAGE && m_end - m_begin < m_in.size()) return Decrypted::Incomplete;
    if (status == SEC_I_CONTEXT_EXPIRED) return Decrypted::Ended;
    if (status != SEC_E_OK && status != SEC_I_RENEGOTIATE) {
        m_readError = static_cast<std::uint32_t>(status);
        return Decrypted::Failed;
    }
    const SecBuffer* const extra = Find(buffers, SECBUFFER_EXTRA);
    m_begin = extra != nullptr ? m_end - extra->cbBuffer : m_end;
    if (const SecBuffer* const data = Find(buffers, SECBUFFER_DATA))
        m_plain = {static_cast<char*>(data->pvBuffer), data->cbBuffer};
    if (status == SEC_I_RENEGOTIATE) {
        {
            const std::lock_guard lock(m_sendLock);
            m_phase = Phase::Renewing;
        }
        Renew();
        if (m_phase == Phase::Ended) return Decrypted::Failed;
    }
    return m_plain.empty() ? Decrypted::Again : Decrypted::Plain;
}

// True: the connection is open again, and what waited has been sent.
bool CTlsLink::Renew() {
    const std::lock_guard lock(m_sendLock);
    while (m_phase == Phase::Renewing && Step()) {
        if (m_begin == m_end) break;
    }
    if (m_phase == Phase::Ended) m_readError = m_failure->code;
    if (m_phase != Phase::Open) return false;
    const std::string held = std::exchange(m_held, {});
    if (!held.empty()) SendRecord(held);
    return true;
}

LinkTransfer CTlsLink::Send(std::string_view bytes) {
    const std::lock_guard lock(m_sendLock);
    if (!IsUsable() || m_broken != 0) return {WSAENOTCONN, 0};
    if (m_phase == Phase::Renewing) {
        if (m_held.size() + bytes.size() > kMostHeld) return {WSAENOBUFS, 0};
        m_held += bytes;
        return {0, bytes.size()};
    }
    const std::uint32_t error = SendRecord(bytes);
    return {error, error == 0 ? bytes.size() : 0};
}

// Under the lock of the senders.
std::uint32_t CTlsLink::SendRecord(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::string_view part = bytes.substr(0, m_sizes.cbMaximumMessage);
        char* const data = m_out.data() + m_sizes.cbHeader;
        std::memcpy(data, part.data(), part.size());
        std::array buffers = {
            Buffer(SECBUFFER_STREAM_HEADER, m_out.data(), m_sizes.cbHeader), Buffer(SECBUFFER_DATA, data, part.size()),
            Buffer(SECBUFFER_STREAM_TRAILER, data + part.size(), m_sizes.cbTrailer), Buffer(SECBUFFER_EMPTY)};
        SecBufferDesc description = Description(buffers);
        const SECURITY_STATUS status = EncryptMessage(&m_context, 0, &description, 0);
        const std::size_t size = buffers[0].cbBuffer + buffers[1].cbBuffer + buffers[2].cbBuffer;
        LinkTransfer sent{static_cast<std::uint32_t>(status), 0};
        if (status == SEC_E_OK) sent = m_tcp.Send({m_out.data(), size});
        if (sent.error != 0 || sent.bytes != size) {
            m_broken = sent.error != 0 ? sent.error : static_cast<std::uint32_t>(WSAENOBUFS);
            WSASetEvent(m_event);
            return m_broken;
        }
        bytes.remove_prefix(part.size());
    }
    return 0;
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
