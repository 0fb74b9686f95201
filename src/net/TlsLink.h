#pragma once
#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>
#include "common/PoolAddress.h"
#include "net/CertificateCheck.h"
#include "net/DataLink.h"
#include "net/SecurityBuffers.h"

// A link whose bytes are encrypted with TLS by the system's own implementation (Schannel). It is connected when the
// handshake is over and the certificate was found good; before that nothing is sent. What it cannot do it says by Failure.
//
// The number of a record is used up when it is made: where the system's send buffer does not take it whole, the link has
// failed.
class CTlsLink final : public IDataLink {
  public:
    // carrier: what takes the encrypted bytes, made with the same event. host: the name that is asked for, and that the
    // certificate is to be for. dataEvent outlives the link.
    CTlsLink(WSAEVENT dataEvent, std::unique_ptr<IDataLink> carrier, std::wstring host, PoolEncryption asked);
    ~CTlsLink() override;

    std::uint32_t Connect(const HostAddress& address, std::uint32_t port) override;
    LinkEvents TakeEvents() override;
    std::optional<LinkFailure> Failure() const override { return m_failure ? m_failure : m_carrier->Failure(); }
    std::string Protection() const override;
    LinkTransfer Receive(std::span<char> area) override;
    LinkTransfer Send(std::string_view bytes) override;

  private:
    enum class Phase {
        Connecting,
        Handshake,
        Checking,  // the certificate
        Open,
        Renewing,  // another handshake within the connection, or a message that belongs to the first one
        Ended
    };

    // The handshake.
    void Begin();
    void ShakeHands();
    bool Step();
    void HandshakeDone();
    bool SendToken(const SecBuffer& token);
    void BeginCheck();
    void FinishCheck();
    void Fail(std::uint32_t code, std::string text);
    void FailInHandshake(SECURITY_STATUS status);
    bool IsFirstAnswer() const;
    bool LooksLikeTls() const;

    // Records.
    bool Read();
    enum class Decrypted { Plain, Again, Incomplete, Ended, Failed };
    Decrypted Decrypt();
    bool Renew();
    std::uint32_t SendRecord(std::string_view bytes);
    void SayGoodbye();
    bool IsUsable() const { return m_phase == Phase::Open || m_phase == Phase::Renewing; }
    bool HasPending() const { return !m_plain.empty() || m_begin != m_end || m_isReadable; }

    const WSAEVENT m_event;
    std::wstring m_host;
    const PoolEncryption m_asked;
    const std::unique_ptr<IDataLink> m_carrier;
    std::optional<LinkFailure> m_failure;
    CredHandle m_credentials;
    CtxtHandle m_context;
    SecPkgContext_StreamSizes m_sizes = {};
    CertificateFacts m_certificate;
    std::unique_ptr<CCertificateCheck> m_check;
    bool m_isAskedForCertificate = false;

    // The connection's thread's own.
    std::vector<char> m_in;  // [m_begin, m_end): from the socket, not decrypted yet
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    std::span<char> m_plain;  // decrypted, within m_in before m_begin; not received yet
    std::size_t m_handshakeBytes = 0;
    bool m_isReadable = false;  // the socket said so, and was not read since
    std::optional<std::uint32_t> m_closed;
    std::uint32_t m_readError = 0;

    // Held while a record is made and sent, and while the connection is renewed.
    std::mutex m_sendLock;
    Phase m_phase = Phase::Connecting;  // from Open on changed under the lock, by the connection's thread alone
    std::vector<char> m_out;
    std::string m_held;                       // what is to be sent when the connection is renewed
    std::atomic<std::uint32_t> m_broken = 0;  // by a record that was not sent whole, or is not what was sent
};
