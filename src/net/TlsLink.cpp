#include "net/TlsLink.h"
#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace {

constexpr std::size_t kInputArea = std::size_t{32} * 1024;  // holds the longest record
constexpr std::size_t kMostHeld = std::size_t{64} * 1024;

}  // namespace

CTlsLink::CTlsLink(WSAEVENT dataEvent, std::unique_ptr<IDataLink> carrier, std::wstring host, PoolEncryption asked)
    : m_event(dataEvent),
      m_host(std::move(host)),
      m_asked(std::move(asked)),
      m_carrier(std::move(carrier)),
      m_credentials(kNoHandle),
      m_context(kNoHandle),
      m_in(kInputArea) {}

CTlsLink::~CTlsLink() {
    if (m_phase == Phase::Open) SayGoodbye();
    if (IsValid(m_context)) DeleteSecurityContext(&m_context);
    if (IsValid(m_credentials)) FreeCredentialsHandle(&m_credentials);
}

std::uint32_t CTlsLink::Connect(const HostAddress& address, std::uint32_t port) {
    return m_carrier->Connect(address, port);
}

LinkEvents CTlsLink::TakeEvents() {
    LinkEvents events = m_carrier->TakeEvents();
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
        if (m_phase == Phase::Ended) result.connected = m_failure ? m_failure->code : SystemCode(WSAECONNRESET);
        if (m_phase != Phase::Open) return result;
        result.connected = 0;
    }
    if (HasPending()) result.readable = m_readError;
    result.closed = m_closed;
    return result;
}

// ---- Records -------------------------------------------------------------------------------------------------------------

// Reads the socket once, into the room behind what is there. False: it cannot be read any more.
bool CTlsLink::Read() {
    if (m_plain.empty() && m_begin > 0) {
        std::memmove(m_in.data(), m_in.data() + m_begin, m_end - m_begin);
        m_end -= std::exchange(m_begin, 0);
    }
    m_isReadable = false;
    const LinkTransfer read = m_carrier->Receive(std::span(m_in).subspan(m_end));
    m_readError = read.error;
    m_end += read.bytes;
    return read.error == 0;
}

// As many records as there are and the area takes: each call costs the caller a wait.
LinkTransfer CTlsLink::Receive(std::span<char> area) {
    std::size_t bytes = 0;
    while (bytes < area.size()) {
        if (m_plain.empty()) {
            const Decrypted record = m_begin == m_end ? Decrypted::Incomplete : Decrypt();
            if (record == Decrypted::Ended) {
                m_closed = 0;
                WSASetEvent(m_event);
                return {0, bytes};
            }
            if (record == Decrypted::Failed) {
                if (bytes == 0) return {m_readError, 0};
                m_broken = m_readError;  // after what came before it
                WSASetEvent(m_event);
                return {0, bytes};
            }
            if (record == Decrypted::Incomplete) {
                if (bytes != 0) break;
                const std::size_t before = m_end - m_begin;
                if (!Read()) return {m_readError, 0};
                if (m_end - m_begin == before) return {};
            }
        }
        const std::size_t part = std::min(area.size() - bytes, m_plain.size());
        if (part != 0) std::memcpy(area.data() + bytes, m_plain.data(), part);
        m_plain = m_plain.subspan(part);
        bytes += part;
    }
    if (m_isReadable || bytes == area.size()) WSASetEvent(m_event);  // there may be more already
    return {0, bytes};
}

CTlsLink::Decrypted CTlsLink::Decrypt() {
    if (m_phase == Phase::Renewing)
        return Renew() ? Decrypted::Again : m_phase == Phase::Ended ? Decrypted::Failed : Decrypted::Incomplete;
    const bool isAlert = m_in[m_begin] == kAlertRecord;
    std::array buffers = {Buffer(SECBUFFER_DATA, m_in.data() + m_begin, m_end - m_begin), Buffer(SECBUFFER_EMPTY),
                          Buffer(SECBUFFER_EMPTY), Buffer(SECBUFFER_EMPTY)};
    SecBufferDesc description = Description(buffers);
    const SECURITY_STATUS status = DecryptMessage(&m_context, &description, 0, nullptr);
    if (status == SEC_E_INCOMPLETE_MESSAGE && m_end - m_begin < m_in.size()) return Decrypted::Incomplete;
    // What the other side says last. Not every system tells of it, and nobody has to close the socket after it.
    if (status == SEC_I_CONTEXT_EXPIRED || (status == SEC_E_OK && isAlert)) return Decrypted::Ended;
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
        if (status == SEC_E_OK) sent = m_carrier->Send({m_out.data(), size});
        if (sent.error != 0 || sent.bytes != size) {
            m_broken = sent.error != 0 ? sent.error : static_cast<std::uint32_t>(WSAENOBUFS);
            WSASetEvent(m_event);
            return m_broken;
        }
        bytes.remove_prefix(part.size());
    }
    return 0;
}
