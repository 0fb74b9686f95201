#include "serve/LiveSession.h"

#include <rapidjson/document.h>

#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/websocket.hpp>

#include "serve/FleetJson.h"

namespace {

namespace beast = boost::beast;
namespace websocket = beast::websocket;
using Request = beast::http::request<beast::http::string_body>;

constexpr std::chrono::seconds kInterval{1};
constexpr std::size_t kMaxDetailed = 64;
constexpr std::size_t kMaxMessage = 4096;
constexpr unsigned kMaxSkipped = 30;

class CLiveSession : public std::enable_shared_from_this<CLiveSession> {
  public:
    CLiveSession(boost::asio::ip::tcp::socket socket, Request request, CFleet& fleet, std::shared_ptr<SessionCount> count)
        : m_stream(std::move(socket)),
          m_timer(m_stream.get_executor()),
          m_request(std::move(request)),
          m_fleet(fleet),
          m_count(std::move(count)) {
        ++m_count->open;
        ++m_count->live;
    }
    ~CLiveSession() {
        --m_count->open;
        --m_count->live;
    }
    CLiveSession(const CLiveSession&) = delete;
    CLiveSession& operator=(const CLiveSession&) = delete;

    void Start() {
        m_stream.set_option(websocket::stream_base::timeout::suggested(beast::role_type::server));
        m_stream.read_message_max(kMaxMessage);
        m_stream.async_accept(m_request, [self = shared_from_this()](beast::error_code error) {
            if (error) return;
            self->m_stream.text(true);
            self->Read();
            self->Send();
            self->Wait();
        });
    }

  private:
    void Read();
    void TakeMessage();
    void Wait();
    void Send();
    void Drop() {
        m_timer.cancel();
        beast::get_lowest_layer(m_stream).close();
    }

    websocket::stream<beast::tcp_stream> m_stream;
    boost::asio::steady_timer m_timer;
    Request m_request;
    CFleet& m_fleet;
    std::shared_ptr<SessionCount> m_count;
    beast::flat_buffer m_buffer{kMaxMessage * 2};
    std::vector<std::size_t> m_detailed;
    std::uint64_t m_after = 0;
    std::string m_text;
    bool m_writing = false;
    unsigned m_skipped = 0;
};

void CLiveSession::Read() {
    m_stream.async_read(m_buffer, [self = shared_from_this()](beast::error_code error, std::size_t) {
        if (error) return self->Drop();
        self->TakeMessage();
        self->Read();
    });
}

void CLiveSession::TakeMessage() {
    const std::string text = beast::buffers_to_string(m_buffer.data());
    m_buffer.consume(m_buffer.size());
    rapidjson::Document document;
    document.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
    if (document.HasParseError() || !document.IsObject()) return;
    const rapidjson::Value& object = document;
    const auto wanted = object.FindMember("detail");
    if (wanted == object.MemberEnd() || !wanted->value.IsArray()) return;
    m_detailed.clear();
    for (const auto& rig : wanted->value.GetArray())
        if (rig.IsUint() && rig.GetUint() < m_fleet.Size() && m_detailed.size() < kMaxDetailed)
            m_detailed.push_back(rig.GetUint());
    m_after = 0;
    Send();
}

void CLiveSession::Wait() {
    m_timer.expires_after(kInterval);
    m_timer.async_wait([self = shared_from_this()](const boost::system::error_code& error) {
        if (error) return;
        self->Send();
        self->Wait();
    });
}

void CLiveSession::Send() {
    if (m_writing) {
        if (++m_skipped > kMaxSkipped) Drop();
        return;
    }
    m_skipped = 0;
    m_text = FleetJson(m_fleet, m_after, m_detailed);
    m_after = m_fleet.Revision() + 1;
    m_writing = true;
    m_stream.async_write(boost::asio::buffer(m_text), [self = shared_from_this()](beast::error_code error, std::size_t) {
        self->m_writing = false;
        if (error) self->Drop();
    });
}

}  // namespace

void ServeLive(boost::asio::ip::tcp::socket socket, Request request, CFleet& fleet, std::shared_ptr<SessionCount> count) {
    std::make_shared<CLiveSession>(std::move(socket), std::move(request), fleet, std::move(count))->Start();
}
