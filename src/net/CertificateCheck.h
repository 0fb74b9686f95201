#pragma once
#include <winsock2.h>
// After winsock2.h:
#include <windows.h>
// After windows.h:
#include <wincrypt.h>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include "net/CertificateText.h"

struct CertificateDeleter {
    using pointer = PCCERT_CONTEXT;
    void operator()(PCCERT_CONTEXT certificate) const { CertFreeCertificateContext(certificate); }
};
using CertificateHandle = std::unique_ptr<const CERT_CONTEXT, CertificateDeleter>;

CertificateFacts FactsOf(const CERT_CONTEXT& certificate);

// The system's judgement about a server's certificate: chain, dates, name; not whether it was revoked. Building the chain
// may fetch certificates from the network, so it runs on a thread of its own, which is left behind and shares nothing with
// who asked.
class CCertificateCheck {
  public:
    struct Verdict {
        CertificateFault fault = CertificateFault::None;
        std::uint32_t code = 0;  // the system's
    };

    // host: what the certificate is to be for. done is set when there is a verdict; it outlives the check.
    // Throws std::bad_alloc.
    CCertificateCheck(CertificateHandle certificate, std::wstring host, WSAEVENT done);
    ~CCertificateCheck();
    CCertificateCheck(const CCertificateCheck&) = delete;
    CCertificateCheck& operator=(const CCertificateCheck&) = delete;
    // Nothing: it is still being made. Takes it.
    std::optional<Verdict> Take();

  private:
    struct Request;
    std::shared_ptr<Request> m_request;
};
