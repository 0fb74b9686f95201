// The turn of a connection: from a pool's line being sent to the answer being back, once through _NetworkInterfaceSocket
// (framing, callback, Send) and once through the bare event-select calls. Both run in this process, on loopback, in
// alternating blocks; only their ratio means something.
#include <winsock2.h>
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <string>
#include <string_view>
#include <thread>
#include <vector>
#include "net/NetworkInterfaceSocket.h"

namespace {

constexpr int kBlocks = 60;
constexpr int kRoundsPerBlock = 100;
constexpr std::string_view kAnswer =
    R"({"id":65537,"method":"eth_submitWork","params":["0x0123456789abcdef","0x00","0x00"]})"
    "\n";

std::string PoolLine() {
    const std::string hash(64, 'a');
    return R"({"id":0,"jsonrpc":"2.0","result":["0x)" + hash + R"(","0x)" + hash + R"(","0x)" + hash + "\"]}\n";
}

// The pool's end: a listening socket and the accepted one, blocking.
class CPool {
  public:
    CPool() : m_listening(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP)) {
        m_address.sin_family = AF_INET;
        m_address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        int size = sizeof m_address;
        bind(m_listening.Get(), reinterpret_cast<const sockaddr*>(&m_address), size);
        listen(m_listening.Get(), 1);
        getsockname(m_listening.Get(), reinterpret_cast<sockaddr*>(&m_address), &size);
    }
    const sockaddr_in& Address() const { return m_address; }
    void Accept() {
        m_link = CSocket(accept(m_listening.Get(), nullptr, nullptr));
        const BOOL on = TRUE;
        setsockopt(m_link.Get(), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
    }
    void Close() { m_link.Close(); }

    // Microseconds from the line's send to the whole answer; negative: the connection broke.
    double Turn(std::string_view line) {
        const auto begin = std::chrono::steady_clock::now();
        if (send(m_link.Get(), line.data(), static_cast<int>(line.size()), 0) != static_cast<int>(line.size())) return -1;
        std::array<char, 4096> area;
        for (std::size_t got = 0; got < kAnswer.size();) {
            const int received = recv(m_link.Get(), area.data(), static_cast<int>(area.size()), 0);
            if (received <= 0) return -1;
            got += static_cast<std::size_t>(received);
        }
        return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count();
    }

  private:
    CSocket m_listening;
    CSocket m_link;
    sockaddr_in m_address = {};
};

class CAnsweringConnection final : public _NetworkInterfaceSocket {
  public:
    ~CAnsweringConnection() override { Stop(); }
    void OnConnected(std::uint32_t) override {}
    void OnDisconnected(std::uint32_t) override {}
    void OnDataReceived(char*, std::uint32_t, ddt_datetime, std::uint32_t) override { Send(kAnswer); }
};

// The same calls without anything around them; answers every read. Ends when the pool closes.
void BareClient(const sockaddr_in& address) {
    CSocket socket(WSASocketW(AF_INET, SOCK_STREAM, IPPROTO_TCP, nullptr, 0, WSA_FLAG_OVERLAPPED));
    const BOOL on = TRUE;
    setsockopt(socket.Get(), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
    const CNetworkEvent stop, data, unused;
    const std::array<WSAEVENT, 3> events = {stop.Get(), data.Get(), unused.Get()};
    WSAEventSelect(socket.Get(), data.Get(), FD_READ | FD_CONNECT | FD_CLOSE);
    WSAConnect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address, nullptr, nullptr, nullptr,
               nullptr);
    std::array<char, 4096> area;
    for (;;) {
        WSAWaitForMultipleEvents(3, events.data(), FALSE, WSA_INFINITE, TRUE);
        WSANETWORKEVENTS network = {};
        WSAEnumNetworkEvents(socket.Get(), data.Get(), &network);
        if ((network.lNetworkEvents & FD_READ) != 0) {
            WSABUF buffer = {static_cast<u_long>(area.size()), area.data()};
            DWORD count = 0, flags = 0;
            WSARecv(socket.Get(), &buffer, 1, &count, &flags, nullptr, nullptr);
            WSABUF answer = {static_cast<u_long>(kAnswer.size()), const_cast<char*>(kAnswer.data())};
            WSASend(socket.Get(), &answer, 1, &count, 0, nullptr, nullptr);
        }
        if ((network.lNetworkEvents & FD_CLOSE) != 0) return;
    }
}

bool Measure(CPool& pool, std::string_view line, std::vector<double>& times) {
    for (int i = 0; i < kRoundsPerBlock; ++i) {
        const double time = pool.Turn(line);
        if (time < 0) return false;
        times.push_back(time);
    }
    return true;
}

double Median(std::vector<double>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace

int main() {
    const CWinsockSession winsock;
    const std::string line = PoolLine();
    CPool pool, barePool;

    CAnsweringConnection connection;
    connection.SetFraming(true, '\n');
    std::wstring host = L"127.0.0.1";
    connection.StartClient(host, ntohs(pool.Address().sin_port), 0);
    pool.Accept();
    std::jthread bare(BareClient, barePool.Address());
    barePool.Accept();

    std::vector<double> warmUp, times, bareTimes;
    bool whole = Measure(pool, line, warmUp) && Measure(barePool, line, warmUp);
    for (int block = 0; block < kBlocks && whole; ++block) {
        whole = Measure(pool, line, times) && Measure(barePool, line, bareTimes);
    }
    barePool.Close();
    if (!whole) {
        std::puts("a connection broke");
        return 1;
    }
    const double median = Median(times), bareMedian = Median(bareTimes);
    std::printf(
        "line to answer, median of %zu turns each: %.1f us; bare event-select socket %.1f us; ratio %.2f (goal 1.30)\n",
        times.size(), median, bareMedian, median / bareMedian);
    return 0;
}
