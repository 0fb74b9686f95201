#include "rigs/FakeMiner.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <array>
#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>
#include <cstdio>
#include <deque>

#include "common/TroubleCode.h"

namespace asio = boost::asio;
using Tcp = asio::ip::tcp;

namespace {

constexpr std::size_t kMaxKept = 1000;

std::string Text(const rapidjson::Value& object, const char* name) {
    if (!object.IsObject() || !object.HasMember(name) || !object[name].IsString()) return {};
    return object[name].GetString();
}

std::string ErrorLine(int code, const std::string& text) {
    return R"({"cmd":"errorinfo","params":{"time":133456789012345678,"id":)" + std::to_string(code) + R"(,"text":")" + text +
           "\"}}\n";
}

}  // namespace

// One connected controller.
class CFakeMiner::CSession : public std::enable_shared_from_this<CSession> {
  public:
    CSession(CFakeMiner& miner, Tcp::socket socket)
        : m_miner(miner), m_socket(std::move(socket)), m_timer(m_socket.get_executor()) {}

    void Read() {
        asio::async_read_until(m_socket, asio::dynamic_buffer(m_input), '\n',
                               [self = shared_from_this()](const boost::system::error_code& error, std::size_t length) {
                                   if (error) return self->Close();
                                   const std::string line = self->m_input.substr(0, length - 1);
                                   self->m_input.erase(0, length);
                                   self->m_miner.Obey(line, *self);
                                   if (self->m_socket.is_open()) self->Read();
                               });
    }

    void Send(std::string text) {
        if (text.empty()) return;
        if (m_miner.m_settings.manner == Manner::HalfLines && text.size() > 20) {
            m_output.push_back(text.substr(0, text.size() / 2));
            text.erase(0, text.size() / 2);
        }
        m_output.push_back(std::move(text));
        if (!m_writing) Write();
    }

    void Tick() {
        m_timer.expires_after(m_miner.m_settings.interval);
        m_timer.async_wait([self = shared_from_this()](const boost::system::error_code& error) {
            if (error || !self->m_socket.is_open()) return;
            if (self->m_miner.m_mining) {
                self->Send(self->m_miner.UpdateLine());
                self->Send(self->m_miner.TroublesBegun());
            }
            self->Tick();
        });
    }

    void Flood() {
        Send(std::string(65536, 'x'));
        m_timer.expires_after(std::chrono::milliseconds(1));
        m_timer.async_wait([self = shared_from_this()](const boost::system::error_code& error) {
            if (!error && self->m_socket.is_open()) self->Flood();
        });
    }

    void Close() {
        boost::system::error_code ignored;
        m_timer.cancel();
        m_socket.shutdown(Tcp::socket::shutdown_both, ignored);
        m_socket.close(ignored);
    }

  private:
    void Write() {
        m_writing = true;
        asio::async_write(m_socket, asio::buffer(m_output.front()),
                          [self = shared_from_this()](const boost::system::error_code& error, std::size_t) {
                              if (error) return self->Close();
                              self->m_output.pop_front();
                              self->m_writing = !self->m_output.empty();
                              if (self->m_writing) self->Write();
                          });
    }

    CFakeMiner& m_miner;
    Tcp::socket m_socket;
    asio::steady_timer m_timer;
    std::string m_input;
    std::deque<std::string> m_output;
    bool m_writing = false;
};

std::string FakeUuid(int rig, int gpu) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%016x%016x", static_cast<unsigned>(rig) + 0xA000, static_cast<unsigned>(gpu));
    return text.data();
}

CFakeMiner::CFakeMiner(asio::io_context& io, FakeSettings settings, int number)
    : m_acceptor(io, Tcp::endpoint(asio::ip::address_v4::loopback(), 0)),
      m_settings(std::move(settings)),
      m_number(number),
      m_mining(m_settings.mining) {
    Accept();
}

CFakeMiner::~CFakeMiner() {
    try {
        if (const auto session = m_session.lock()) session->Close();
    } catch (const boost::system::system_error&) {
        m_session.reset();  // closed with the io_context
    }
}

std::vector<std::string> CFakeMiner::Received() const {
    const std::lock_guard lock(m_lock);
    return m_received;
}

void CFakeMiner::Accept() {
    m_acceptor.async_accept([this](const boost::system::error_code& error, Tcp::socket socket) {
        if (error) return;
        ++m_connections;
        const auto session = std::make_shared<CSession>(*this, std::move(socket));
        m_session = session;
        if (m_settings.manner == Manner::ClosesAtOnce) {
            session->Close();
        } else {
            session->Read();
            if (m_settings.manner == Manner::EndlessLine)
                session->Flood();
            else
                session->Tick();
        }
        Accept();
    });
}

void CFakeMiner::Obey(const std::string& line, CSession& session) {
    {
        const std::lock_guard lock(m_lock);
        if (m_received.size() < kMaxKept) m_received.push_back(line);
    }
    rapidjson::Document document;
    document.Parse(line.c_str());
    if (document.HasParseError() || !document.IsObject() || !document.HasMember("params")) return;
    if (!m_settings.token.empty() && Text(document["params"], "token") != m_settings.token) return;
    const std::string command = Text(document, "cmd");
    if (m_settings.manner == Manner::NeverAnswers || m_settings.manner == Manner::EndlessLine) return;
    if (m_settings.manner == Manner::Garbage) session.Send("\xff\xfe{]\n\n{\"cmd\":7}\n[[[[\n");
    if (m_settings.manner == Manner::OnlyGarbage) {
        for (int i = 0; i < 12; ++i)
            session.Send("HTTP/1.1 400 Bad Request\r\n");
        return;
    }
    const bool started = command == "start-mining" && m_settings.manner != Manner::NeverStarts;
    if (started || command == "stop-mining") {
        m_mining = started;
        std::erase_if(m_settings.troubles, [&](const FakeTrouble& trouble) {
            return trouble.code == CodeNumber(TroubleCode::MiningStopped) && trouble.told <= m_ticks;
        });
        session.Send(UpdateLine());
    }
    if (command != "connect") return;
    std::string answer = SystemLine();
    for (const FakeTrouble& trouble : m_settings.troubles)
        if (trouble.told <= m_ticks) answer += ErrorLine(trouble.code, trouble.text);
    session.Send(answer);
    if (m_settings.manner == Manner::DropsFirst && m_connections == 1) session.Close();
}

std::string CFakeMiner::TroublesBegun() {
    std::string lines;
    for (const FakeTrouble& trouble : m_settings.troubles) {
        if (trouble.told != m_ticks) continue;
        if (trouble.code == CodeNumber(TroubleCode::MiningStopped)) {
            m_mining = false;
            lines += UpdateLine();
        }
        lines += ErrorLine(trouble.code, trouble.text);
    }
    return lines;
}

void CFakeMiner::EndTroubles() {
    const auto session = m_session.lock();
    for (const FakeTrouble& trouble : m_settings.troubles)
        if (session && trouble.told <= m_ticks)
            session->Send(ErrorLine(CodeNumber(TroubleCode::Over), std::string(kOverPrefix) + trouble.text));
    m_settings.troubles.clear();
}

std::string CFakeMiner::SystemLine() const {
    std::string line = R"({"cmd":"system","params":{"hostname":")" + m_settings.hostname +
                       R"(","ver":"18.12.50.41","status":")" + Status() + R"(","GpuStatic":[)";
    for (int i = 0; i < m_settings.gpus; ++i) {
        if (i > 0) line += ',';
        line +=
            R"({"ID":")" + FakeUuid(m_number, i) + R"(","Model":"Simulated RTX )" + std::to_string(3070 + 10 * (i % 3)) +
            R"(","CUDA-ID":)" + std::to_string(i) +
            R"(,"CUDA-Major":8,"CUDA-Minor":6,"MultiProc":46,"CoresPerMultiProc":128,"TotalCores":5888,"Memory":8589934592,"PCI-Dom":0,"PCI-Bus":)" +
            std::to_string(i + 1) + "}";
    }
    return line + "]}}\n";
}

std::string CFakeMiner::UpdateLine() {
    ++m_ticks;
    std::string line;
    if (m_settings.manner == Manner::QuotedError) line = ErrorLine(23, R"(share "low" at \x)");
    line += std::string(R"({"cmd":"update","params":{"status":")") + Status() + R"(","GpuDynamic":[)";
    for (int i = 0; i < m_settings.gpus; ++i) {
        const unsigned wave = (m_ticks * 7 + static_cast<unsigned>(i * 13 + m_number * 5)) % 23;
        const bool isHashing =
            m_mining && m_ticks >= m_settings.hashesFrom &&
            std::ranges::none_of(m_settings.troubles, [&](const FakeTrouble& trouble) {
                return trouble.told <= m_ticks && trouble.text.starts_with("GPU " + std::to_string(i) + " ");
            });
        std::array<char, 400> gpu{};
        std::snprintf(gpu.data(), gpu.size(),
                      R"(%s{"ID":"%s","status":"OK","Temp":%u,"Fan":%u,"MemInUse":%u,"CoreClk":%u,"MemClk":7001,"Power":%u,)"
                      R"("HashSpeed":%u,"SolSpeed":0,"SOK":%u,"SS":%u,"SR":%u,"ST":133456789012345678})",
                      i > 0 ? "," : "", FakeUuid(m_number, i).c_str(), 52 + wave / 2 + static_cast<unsigned>(i % 4) * 3,
                      45 + wave, 3221225472u + wave * 1048576u, 1695 + wave, 118 + wave,
                      isHashing ? 61'000'000u + wave * 40'000u : 0u, m_ticks, m_ticks / 60, m_ticks / 90);
        line += gpu.data();
    }
    return line + "]}}\n";
}
