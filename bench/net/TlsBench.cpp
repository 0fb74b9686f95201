// What encryption adds to a line on its way from the socket's bytes to the plug-in's work block (CTlsLink, CLineFramer, the
// session), beside a bare DecryptMessage of the same records. Both connections run through the TLS of another library, which
// stands before the peer (tls-front.sh). The records are collected first, so that only computing is measured. Then what
// memory one more connection takes.
#include "net/TlsLink.h"
// After winsock2.h:
#include <psapi.h>
#include <schannel.h>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>
#include "../../tests/unit/net/ScriptedPeer.h"
#include "net/LineFramer.h"
#include "net/SocketAddress.h"
#include "net/TcpLink.h"
#include "pool/StratumSession.h"

namespace {

constexpr int kLines = 4000;
constexpr int kRounds = 7;
constexpr int kConnections = 16;

using Clock = std::chrono::steady_clock;

std::string PoolLine() {
    const std::string hash(64, 'a');
    return R"({"id":0,"jsonrpc":"2.0","result":["0x)" + hash + R"(","0x)" + hash + R"(","0x)" + hash + "\"]}\n";
}

double MicrosecondsPerLine(Clock::time_point begin) {
    return std::chrono::duration<double, std::micro>(Clock::now() - begin).count() / kLines;
}

double Median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

// A socket that keeps what comes until it is told to hand it out, a line or its record at a time as in life.
class CHoardingLink final : public IDataLink {
  public:
    CHoardingLink(WSAEVENT event, std::string& hoard, bool& isHoarding)
        : m_link(event), m_hoard(hoard), m_isHoarding(isHoarding) {}
    std::uint32_t Connect(const HostAddress& address, std::uint32_t port) override { return m_link.Connect(address, port); }
    LinkEvents TakeEvents() override { return m_link.TakeEvents(); }
    LinkTransfer Send(std::string_view bytes) override { return m_link.Send(bytes); }
    LinkTransfer Receive(std::span<char> area) override {
        if (m_isHoarding || m_at == m_hoard.size()) return m_link.Receive(area);
        const std::size_t bytes = std::min({area.size(), m_hoard.size() - m_at, m_piece});
        std::copy_n(m_hoard.data() + m_at, bytes, area.data());
        m_at += bytes;
        return {0, bytes};
    }
    void Forget() { m_at = 0; }
    void SetPiece(std::size_t bytes) { m_piece = bytes; }
    // Reads the socket; false: nothing came within a second.
    bool Hoard(WSAEVENT event) {
        std::array<char, 8192> area;
        for (int i = 0; i < 10; ++i) {
            WSAWaitForMultipleEvents(1, &event, FALSE, 100, FALSE);
            m_link.TakeEvents();
            const LinkTransfer read = m_link.Receive(area);
            m_hoard.append(area.data(), read.bytes);
            m_piece = read.bytes;
            if (read.bytes != 0) return true;
        }
        return false;
    }

  private:
    CTcpLink m_link;
    std::string& m_hoard;
    bool& m_isHoarding;
    std::size_t m_at = 0;
    std::size_t m_piece = 0;
};

// One encrypted connection of the program's.
struct Encrypted {
    explicit Encrypted(CScriptedPeer& peer) {
        auto carrier = std::make_unique<CHoardingLink>(event.Get(), hoard, isHoarding);
        socket = carrier.get();
        link = std::make_unique<CTlsLink>(event.Get(), std::move(carrier), L"localhost", PoolEncryption{true, {}, true});
        link->Connect(*ParseAddress(L"127.0.0.1"), peer.Port());
        for (int i = 0; i < 50 && !isOpen; ++i) {
            const WSAEVENT waited = event.Get();
            WSAWaitForMultipleEvents(1, &waited, FALSE, 100, FALSE);
            isOpen = link->TakeEvents().connected == 0U;
        }
        if (isOpen) pool = peer.Accept();
    }
    CNetworkEvent event;
    std::string hoard;
    bool isHoarding = false;
    CHoardingLink* socket = nullptr;
    std::unique_ptr<CTlsLink> link;
    CPeerLink pool;
    bool isOpen = false;
};

class CWorkCounter final : public IStratumHost, public IStratumOutput {
  public:
    CMiningStatistics* FindStatistics(std::int32_t) override { return nullptr; }
    void PoolErrorHappened(const PoolError&) override {}
    void RequestStopMining(const std::string&) override {}
    std::wstring DefaultWorkerName() override { return L"rig"; }
    std::uint32_t SendText(std::string_view) override { return 0; }
    void DropConnection(const std::string&, std::uint32_t) override {}
    void PostWork(unsigned message) override { jobs += message == QV_MSG_NEW_JOB ? 1 : 0; }
    void PostPoolSwitch() override {}
    void LogText(const std::string&) override {}
    int jobs = 0;
};

// The records of so many lines, each of its own.
bool Collect(CPeerLink& pool, const std::function<bool()>& hoard) {
    for (int i = 0; i < kLines; ++i) {
        if (!pool.Send(PoolLine()) || !hoard()) return false;
    }
    return true;
}

// Frames and parses what the link gives until all lines are there; microseconds a line, negative: it went wrong.
double MeasureLines(IDataLink& link) {
    CWorkCounter counter;
    CStratumSession session(StratumKind::User, counter, counter, SystemClock(), &counter);
    session.SetPools({std::make_shared<const PoolEntry>()});
    session.Activate();
    CLineFramer framer('\n');
    std::vector<char> area(16384);
    const Clock::time_point begin = Clock::now();
    for (int guard = 0; guard < 2 * kLines && counter.jobs < kLines; ++guard) {
        const LinkTransfer read = link.Receive(area);
        framer.Add({area.data(), read.bytes});
        for (std::span<char> line = framer.NextLine(); !line.empty(); line = framer.NextLine())
            session.LineReceived({line.data(), line.size() - 1});
    }
    return counter.jobs == kLines ? MicrosecondsPerLine(begin) : -1;
}

double MeasureEncrypted(Encrypted& connection) {
    connection.hoard.clear();
    connection.socket->Forget();
    connection.isHoarding = true;
    if (!Collect(connection.pool, [&] { return connection.socket->Hoard(connection.event.Get()); })) return -1;
    connection.isHoarding = false;
    return MeasureLines(*connection.link);
}

double MeasurePlain() {
    std::string hoard;
    for (int i = 0; i < kLines; ++i)
        hoard += PoolLine();
    bool isHoarding = false;
    CHoardingLink link(nullptr, hoard, isHoarding);
    link.SetPiece(PoolLine().size());
    return MeasureLines(link);
}

// The same without anything around it.
class CBare {
  public:
    explicit CBare(CScriptedPeer& peer) : m_socket(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP)) {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<u_short>(peer.Port()));
        SCHANNEL_CRED asked = {};
        asked.dwVersion = SCHANNEL_CRED_VERSION;
        asked.dwFlags = SCH_CRED_MANUAL_CRED_VALIDATION;
        asked.grbitEnabledProtocols = SP_PROT_TLS1_2_CLIENT;
        wchar_t package[] = UNISP_NAME_W;
        if (connect(m_socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return;
        if (AcquireCredentialsHandleW(nullptr, package, SECPKG_CRED_OUTBOUND, nullptr, &asked, nullptr, nullptr,
                                      &m_credentials, nullptr) != SEC_E_OK)
            return;
        m_isOpen = Handshake();
        if (m_isOpen) m_far = peer.Accept();
    }
    ~CBare() {
        DeleteSecurityContext(&m_context);
        FreeCredentialsHandle(&m_credentials);
    }
    CBare(const CBare&) = delete;
    CBare& operator=(const CBare&) = delete;

    bool IsOpen() const { return m_isOpen; }
    double Measure() {
        m_in.clear();
        if (!Collect(m_far, [this] { return Read(); })) return -1;
        const Clock::time_point begin = Clock::now();
        std::size_t at = 0;
        int lines = 0;
        while (at < m_in.size() && lines < kLines) {
            std::array buffers = {Buffer(SECBUFFER_DATA, m_in.data() + at, m_in.size() - at), Buffer(SECBUFFER_EMPTY),
                                  Buffer(SECBUFFER_EMPTY), Buffer(SECBUFFER_EMPTY)};
            SecBufferDesc description = Description(buffers);
            if (DecryptMessage(&m_context, &description, 0, nullptr) != SEC_E_OK) return -1;
            const SecBuffer* const extra = Find(buffers, SECBUFFER_EXTRA);
            at = extra != nullptr ? m_in.size() - extra->cbBuffer : m_in.size();
            ++lines;
        }
        return lines == kLines ? MicrosecondsPerLine(begin) : -1;
    }

  private:
    bool Read() {
        std::array<char, 8192> area;
        const int got = recv(m_socket.Get(), area.data(), static_cast<int>(area.size()), 0);
        if (got > 0) m_in.insert(m_in.end(), area.begin(), area.begin() + got);
        return got > 0;
    }
    bool Handshake() {
        std::wstring host = L"localhost";
        for (bool isFirst = true;; isFirst = false) {
            std::array in = {Buffer(SECBUFFER_TOKEN, m_in.data(), m_in.size()), Buffer(SECBUFFER_EMPTY)};
            std::array out = {Buffer(SECBUFFER_TOKEN)};
            SecBufferDesc input = Description(in), output = Description(out);
            DWORD attributes = 0;
            const SECURITY_STATUS status =
                InitializeSecurityContextW(&m_credentials, isFirst ? nullptr : &m_context, host.data(), kRequirements, 0, 0,
                                           isFirst ? nullptr : &input, 0, &m_context, &output, &attributes, nullptr);
            if (FAILED(status) && status != SEC_E_INCOMPLETE_MESSAGE) return false;
            if (out[0].cbBuffer != 0)
                send(m_socket.Get(), static_cast<const char*>(out[0].pvBuffer), static_cast<int>(out[0].cbBuffer), 0);
            if (out[0].pvBuffer != nullptr) FreeContextBuffer(out[0].pvBuffer);
            const SecBuffer* const extra = Find(in, SECBUFFER_EXTRA);
            if (status != SEC_E_INCOMPLETE_MESSAGE)
                m_in.erase(m_in.begin(), extra != nullptr ? m_in.end() - extra->cbBuffer : m_in.end());
            if (status == SEC_E_OK) return true;
            if ((m_in.empty() || status == SEC_E_INCOMPLETE_MESSAGE) && !Read()) return false;
        }
    }

    CSocket m_socket;
    CredHandle m_credentials = kNoHandle;
    CtxtHandle m_context = kNoHandle;
    std::vector<char> m_in;
    CPeerLink m_far;
    bool m_isOpen = false;
};

// What this process has in memory.
std::size_t WorkingSet() {
    PROCESS_MEMORY_COUNTERS counters = {};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return counters.WorkingSetSize / 1024;
}

}  // namespace

int main() {
    const CWinsockSession winsock;
    CScriptedPeer peer(64);
    Encrypted connection(peer);
    CBare bare(peer);
    if (!connection.isOpen || !bare.IsOpen()) {
        std::puts("no encrypted connection");
        return 1;
    }
    const std::size_t before = WorkingSet();
    std::vector<std::unique_ptr<Encrypted>> more;
    for (int i = 0; i < kConnections; ++i)
        more.push_back(std::make_unique<Encrypted>(peer));
    const bool isWhole = std::ranges::all_of(more, [](const auto& one) { return one->isOpen; });
    std::printf("memory of one more connection, of %d: %zu KB (goal under 100)%s\n", kConnections,
                (WorkingSet() - before) / kConnections, isWhole ? "" : "; not all of them came about");
    more.clear();
    std::vector<double> times, plainTimes, bareTimes;
    for (int round = 0; round < kRounds; ++round) {
        times.push_back(MeasureEncrypted(connection));
        plainTimes.push_back(MeasurePlain());
        bareTimes.push_back(bare.Measure());
        if (times.back() < 0 || plainTimes.back() < 0 || bareTimes.back() < 0) {
            std::puts("a connection broke");
            return 1;
        }
    }
    const double encrypted = Median(times), plain = Median(plainTimes), decryption = Median(bareTimes);
    std::printf(
        "one line to the work block, median of %d rounds: encrypted %.2f us, plain %.2f us; bare decryption %.2f us; "
        "encryption "
        "costs %.2f times that (goal 1.50)\n",
        kRounds, encrypted, plain, decryption, (encrypted - plain) / decryption);
    return 0;
}
