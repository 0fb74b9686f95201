#include "serve/HttpSession.h"

#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>

#include "serve/LiveSession.h"

namespace {

namespace beast = boost::beast;
namespace http = beast::http;

constexpr std::uint32_t kMaxHeader = 8192;
constexpr std::uint64_t kMaxBody = 4096;
constexpr std::chrono::seconds kTimeout{15};

std::string Text(beast::string_view view) {
    return std::string(view.data(), view.size());
}

HttpRequest Plain(const http::request<http::string_body>& request) {
    return {Text(request.method_string()),
            Text(request.target()),
            Text(request[http::field::host]),
            Text(request[http::field::origin]),
            Text(request[http::field::authorization]),
            Text(request[http::field::content_type]),
            request.body()};
}

// Nothing from elsewhere is loaded, nobody may frame the page, and nothing of it is kept.
void AddSecurityHeaders(http::fields& fields) {
    fields.set(http::field::cache_control, "no-store");
    fields.set("Content-Security-Policy",
               "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
               "base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
    fields.set("Cross-Origin-Resource-Policy", "same-origin");
    fields.set("Cross-Origin-Opener-Policy", "same-origin");
    fields.set("Referrer-Policy", "no-referrer");
    fields.set("X-Content-Type-Options", "nosniff");
    fields.set("X-Frame-Options", "DENY");
}

class CHttpSession : public std::enable_shared_from_this<CHttpSession> {
  public:
    CHttpSession(boost::asio::ip::tcp::socket socket, CFleet& fleet, CRouter& router, std::shared_ptr<SessionCount> count)
        : m_stream(std::move(socket)), m_fleet(fleet), m_router(router), m_count(std::move(count)) {
        ++m_count->open;
    }
    ~CHttpSession() { --m_count->open; }
    CHttpSession(const CHttpSession&) = delete;
    CHttpSession& operator=(const CHttpSession&) = delete;

    void Read() {
        m_parser.emplace();
        m_parser->header_limit(kMaxHeader);
        m_parser->body_limit(kMaxBody);
        m_stream.expires_after(kTimeout);
        http::async_read(m_stream, m_buffer, *m_parser,
                         [self = shared_from_this()](beast::error_code error, std::size_t) { self->OnRead(error); });
    }

  private:
    void OnRead(const beast::error_code& error);
    void Send(const HttpReply& reply, bool head);
    void Close();

    beast::tcp_stream m_stream;
    beast::flat_buffer m_buffer{kMaxHeader + kMaxBody};
    std::optional<http::request_parser<http::string_body>> m_parser;
    http::response<http::string_body> m_response;
    CFleet& m_fleet;
    CRouter& m_router;
    std::shared_ptr<SessionCount> m_count;
};

void CHttpSession::OnRead(const beast::error_code& error) {
    if (error == http::error::body_limit || error == http::error::header_limit) {
        m_parser.emplace();
        return Send({413, "text/plain; charset=utf-8", "Too long.\n"}, false);
    }
    if (error) return Close();
    const auto& request = m_parser->get();
    const HttpRequest plain = Plain(request);
    if (beast::websocket::is_upgrade(request) && plain.target == "/live") {
        const auto refusal = m_router.Refusal(plain);
        if (refusal) return Send(*refusal, false);
        if (m_count->live >= kMaxLiveSessions) return Send({503, "text/plain; charset=utf-8", "Too many viewers.\n"}, false);
        m_stream.expires_never();
        return ServeLive(m_stream.release_socket(), m_parser->release(), m_fleet, m_count);
    }
    Send(m_router.Answer(plain), request.method() == http::verb::head);
}

void CHttpSession::Send(const HttpReply& reply, bool head) {
    const auto& request = m_parser->get();
    m_response = {};
    m_response.version(request.version() == 0 ? 11 : request.version());
    m_response.result(reply.status);
    m_response.set(http::field::content_type, reply.contentType);
    AddSecurityHeaders(m_response);
    if (reply.status == 401) m_response.set(http::field::www_authenticate, "Bearer");
    m_response.keep_alive(request.keep_alive() && reply.status < 400);
    m_response.body() = reply.body;
    m_response.prepare_payload();
    if (head) m_response.body().clear();
    m_stream.expires_after(kTimeout);
    http::async_write(m_stream, m_response, [self = shared_from_this()](beast::error_code error, std::size_t) {
        if (error || !self->m_response.keep_alive()) return self->Close();
        self->Read();
    });
}

void CHttpSession::Close() {
    beast::error_code ignored;
    m_stream.socket().shutdown(boost::asio::ip::tcp::socket::shutdown_both, ignored);
    m_stream.close();
}

}  // namespace

void ServeHttp(boost::asio::ip::tcp::socket socket, CFleet& fleet, CRouter& router, std::shared_ptr<SessionCount> count) {
    std::make_shared<CHttpSession>(std::move(socket), fleet, router, std::move(count))->Read();
}
