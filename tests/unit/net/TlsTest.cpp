#include <gtest/gtest.h>
#include <condition_variable>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>
#include "net/NetworkInterfaceSocket.h"
#include "net/TcpLink.h"
#include "net/TlsLink.h"

namespace {

struct Pool {
    std::uint32_t port = 0;
    std::string fingerprint;
};

// What tls-pools.sh has started.
const Pool& PoolNamed(const std::string& name) {
    static const std::map<std::string, Pool> pools = [] {
        std::map<std::string, Pool> found;
        const char* const text = std::getenv("QV_TLS_POOLS");
        std::istringstream list(text != nullptr ? text : "");
        for (std::string entry; std::getline(list, entry, ';');) {
            std::istringstream words(entry);
            std::string word;
            words >> word;
            words >> found[word].port >> found[word].fingerprint;
        }
        return found;
    }();
    return pools.at(name);
}

constexpr char kLogin[] = R"({"id":1,"method":"eth_submitLogin","worker":"w","params":["0xA"]})"
                          "\n";

// Connects, logs in, and knows how that went.
class CEncrypted final : public _NetworkInterfaceSocket {
  public:
    CEncrypted(const std::string& pool, PoolEncryption asked) : m_asked(std::move(asked)) {
        m_asked.isEncrypted = true;
        if (pool == "silent") m_limits.attempt = m_limits.address = 1500;
        SetFraming(true, '\n');
        std::wstring host = L"localhost";
        StartClient(host, PoolNamed(pool).port, 0);
    }
    ~CEncrypted() override { Stop(); }

    // What was secured and the first line, or why not.
    std::string Outcome() {
        std::unique_lock lock(m_lock);
        m_changed.wait_for(lock, std::chrono::seconds(20), [this] { return !m_outcome.empty(); });
        return m_how + m_outcome;
    }

  private:
    std::unique_ptr<IDataLink> MakeLink(WSAEVENT event) override {
        return std::make_unique<CTlsLink>(event, std::make_unique<CTcpLink>(event), L"localhost", m_asked);
    }
    void OnSecured(const std::string& how) override { m_how = how; }
    void OnConnected(std::uint32_t) override { Send(kLogin); }
    void OnDisconnected(std::uint32_t) override {}
    std::uint32_t OnConnectError(const char* text, std::uint32_t) override {
        Told(text);
        return kKeepTrying;
    }
    void OnDataReceived(char* data, std::uint32_t, ddt_datetime, std::uint32_t) override { Told(data); }
    void Told(const std::string& text) {
        const std::lock_guard lock(m_lock);
        if (m_outcome.empty()) m_outcome = text;
        m_changed.notify_all();
    }

    PoolEncryption m_asked;
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::string m_how;  // the connection's thread's, until there is an outcome
    std::string m_outcome;
};

PoolEncryption Unchecked() {
    return {.isEncrypted = true, .fingerprint = {}, .isUnchecked = true};
}

// First: Wine reads the store of roots once in a process.
TEST(Tls, TrustsWhomTheSystemTrusts) {
    const char* const file = std::getenv("QV_TLS_ROOT");
    ASSERT_NE(file, nullptr);
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> der{std::istreambuf_iterator<char>(stream), {}};
    const HCERTSTORE store = CertOpenSystemStoreW(0, L"ROOT");
    PCCERT_CONTEXT added = nullptr;
    ASSERT_TRUE(CertAddEncodedCertificateToStore(store, X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(der.data()),
                                                 static_cast<DWORD>(der.size()), CERT_STORE_ADD_ALWAYS, &added));
    CertControlStore(store, 0, CERT_STORE_CTRL_COMMIT, nullptr);
    const std::string outcome = CEncrypted("good", {.isEncrypted = true, .fingerprint = {}, .isUnchecked = false}).Outcome();
    CertDeleteCertificateFromStore(added);
    CertCloseStore(store, 0);
    EXPECT_TRUE(outcome.starts_with("Encrypted by TLS 1.2; certificate checked: CN=localhost")) << outcome;
    EXPECT_NE(outcome.find("\"result\":true"), std::string::npos) << outcome;
}

TEST(Tls, IsTakenOrRefusedInPlainWords) {
    const PoolEncryption kChecked{.isEncrypted = true, .fingerprint = {}, .isUnchecked = false};
    const auto pinned = [](const std::string& digits) {
        return PoolEncryption{.isEncrypted = true, .fingerprint = digits, .isUnchecked = false};
    };
    constexpr char kEnded[] = "closed the connection in the middle of the TLS handshake";
    constexpr char kAnswer[] = "\"result\":true";
    const struct {
        const char* pool;
        PoolEncryption asked;
        std::vector<std::string> says;
    } kCases[] = {
        {"self", Unchecked(), {"Encrypted by TLS 1.2; certificate NOT CHECKED: CN=localhost", kAnswer}},
        {"split", Unchecked(), {kAnswer}},
        {"self", pinned(PoolNamed("self").fingerprint), {"certificate the one that is entered", kAnswer}},
        {"good", pinned(PoolNamed("self").fingerprint), {"another certificate", PoolNamed("good").fingerprint}},
        {"self", kChecked, {"signed by itself", "enter its fingerprint", "sha256=" + PoolNamed("self").fingerprint}},
        {"expired", kChecked, {"has expired: CN=localhost, valid 20"}},
        {"other", kChecked, {"for another name than localhost: CN=elsewhere.example"}},
        {"stranger", kChecked, {"signed by somebody whom this PC does not know"}},
        {"plain", kChecked, {"does not speak TLS on this port"}},
        {"silent", kChecked, {"does not answer the TLS handshake"}},
        {"flood", Unchecked(), {"TLS"}},
        {"cut1", Unchecked(), {kEnded}},
        {"cut5", Unchecked(), {kEnded}},
        {"cut6", Unchecked(), {kEnded}},
        {"cut100", Unchecked(), {kEnded}},
        {"cut400", Unchecked(), {kEnded}},
        {"cut600", Unchecked(), {kEnded}},
    };
    for (const auto& test : kCases) {
        const std::string outcome = CEncrypted(test.pool, test.asked).Outcome();
        for (const std::string& text : test.says)
            EXPECT_NE(outcome.find(text), std::string::npos)
                << test.pool << ": \"" << outcome << "\" lacks \"" << text << '"';
    }
}

// A system without TLS 1.3 says so, and the others speak it.
TEST(Tls, SpeaksTheLatestVersionOrSaysThatThereIsNone) {
    const std::string outcome = CEncrypted("new", Unchecked()).Outcome();
    EXPECT_TRUE(outcome.starts_with("Encrypted by TLS 1.3") || outcome.starts_with("No version of TLS")) << outcome;
}

}  // namespace
