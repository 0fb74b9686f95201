#include "TlsFront.h"

#include <openssl/ssl.h>
#include <array>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/write.hpp>
#include <stdexcept>

#include "TestCertificate.h"

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

namespace {

constexpr std::size_t kArea = std::size_t{16} * 1024;

// A socket that writes with the faults that were asked for; what TLS runs over.
class CFaultySocket {
  public:
    using executor_type = tcp::socket::executor_type;
    using lowest_layer_type = tcp::socket::lowest_layer_type;

    CFaultySocket(tcp::socket socket, const PoolOptions& options)
        : m_socket(std::move(socket)), m_options(options), m_left(options.tls.closeAfter) {}

    executor_type get_executor() { return m_socket.get_executor(); }
    lowest_layer_type& lowest_layer() { return m_socket.lowest_layer(); }

    template <typename Buffers, typename Handler>
    auto async_read_some(const Buffers& buffers, Handler&& handler) {
        return m_socket.async_read_some(buffers, std::forward<Handler>(handler));
    }
    template <typename Buffers, typename Handler>
    auto async_write_some(const Buffers& buffers, Handler&& handler) {
        std::size_t size = m_options.faults.split ? 1 : asio::buffer_size(buffers);
        if (m_options.tls.closeAfter != 0) {
            size = std::min(size, m_left);
            m_left -= size;
            if (size == 0) {
                error_code ignored;
                m_socket.shutdown(tcp::socket::shutdown_both, ignored);
                m_socket.close(ignored);
            }
        }
        const asio::const_buffer first = *asio::buffer_sequence_begin(buffers);
        return m_socket.async_write_some(asio::buffer(first, size), std::forward<Handler>(handler));
    }

  private:
    tcp::socket m_socket;
    const PoolOptions& m_options;
    std::size_t m_left;
};

// One client: what it says decrypted to the pool, what the pool says encrypted to it. Kept alive by its pending operations.
class CRelay : public std::enable_shared_from_this<CRelay> {
  public:
    CRelay(tcp::socket client, asio::ssl::context& context, const PoolOptions& options)
        : m_options(options), m_pool(client.get_executor()), m_client(CFaultySocket(std::move(client), options), context) {}

    void Start(const tcp::endpoint& pool, const std::function<void(const std::string&)>& print) {
        error_code ignored;
        m_client.lowest_layer().set_option(tcp::no_delay(true), ignored);
        if (m_options.tls.isSilent) return Swallow();
        if (m_options.tls.floods) return Flood();
        m_client.async_handshake(
            asio::ssl::stream_base::server, [self = shared_from_this(), pool, print](const error_code& error) {
                if (error) return print("TLS handshake failed: " + error.message());
                print(std::string("TLS handshake done: ") + SSL_get_version(self->m_client.native_handle()) + ", " +
                      SSL_get_cipher(self->m_client.native_handle()));
                self->m_pool.async_connect(pool, [self](const error_code& failure) {
                    if (failure) return self->Close();
                    self->ToPool();
                    self->ToClient();
                });
            });
    }
    void Close() {
        error_code ignored;
        m_pool.close(ignored);
        m_client.lowest_layer().close(ignored);
    }

  private:
    void ToPool() {
        m_client.async_read_some(asio::buffer(m_fromClient), [self = shared_from_this()](const error_code& error,
                                                                                         std::size_t size) {
            if (error) return self->Close();
            asio::async_write(self->m_pool, asio::buffer(self->m_fromClient, size),
                              [self](const error_code& failure, std::size_t) { failure ? self->Close() : self->ToPool(); });
        });
    }
    void ToClient() {
        m_pool.async_read_some(
            asio::buffer(m_fromPool), [self = shared_from_this()](const error_code& error, std::size_t size) {
                if (error) return self->Goodbye();
                if (self->m_options.tls.renews) self->Renew();
                asio::async_write(
                    self->m_client, asio::buffer(self->m_fromPool, size),
                    [self](const error_code& failure, std::size_t) { failure ? self->Close() : self->ToClient(); });
            });
    }
    void Renew() {
        SSL* const session = m_client.native_handle();
        if (SSL_version(session) == TLS1_3_VERSION)
            SSL_key_update(session, SSL_KEY_UPDATE_REQUESTED);
        else
            SSL_renegotiate(session);
    }
    // An orderly end, as far as the client plays along.
    void Goodbye() {
        m_client.async_shutdown([self = shared_from_this()](const error_code&) { self->Close(); });
    }
    void Swallow() {
        m_client.next_layer().async_read_some(
            asio::buffer(m_fromClient),
            [self = shared_from_this()](const error_code& error, std::size_t) { error ? self->Close() : self->Swallow(); });
    }
    // Records of a certificate message that is said to be 16 MB long.
    void Flood() {
        m_fromPool.fill('x');
        const std::size_t body = kArea - 5;
        const std::array<unsigned char, 9> start = {
            22, 3, 3, static_cast<unsigned char>(body >> 8), static_cast<unsigned char>(body & 0xFF), 11, 0xFF, 0xFF, 0xFF};
        std::copy(start.begin(), m_isFlooding ? start.begin() + 5 : start.end(), m_fromPool.begin());
        m_isFlooding = true;
        m_client.next_layer().async_write_some(
            asio::buffer(m_fromPool),
            [self = shared_from_this()](const error_code& error, std::size_t) { error ? self->Close() : self->Flood(); });
    }

    const PoolOptions& m_options;
    tcp::socket m_pool;
    asio::ssl::stream<CFaultySocket> m_client;
    std::array<char, kArea> m_fromClient;
    std::array<char, kArea> m_fromPool;
    bool m_isFlooding = false;
};

class CTlsFront final : public ITlsFront {
  public:
    CTlsFront(asio::io_context& io, const PoolOptions& options, std::uint16_t poolPort,
              std::function<void(const std::string&)> print)
        : m_options(options),
          m_pool(asio::ip::make_address(options.listen), poolPort),
          m_print(std::move(print)),
          m_context(asio::ssl::context::tls_server),
          m_acceptor(io) {
        UseCertificate();
        const tcp::endpoint endpoint(m_pool.address(), options.port);
        error_code error;
        m_acceptor.open(endpoint.protocol(), error);
        if (!error) m_acceptor.set_option(tcp::acceptor::reuse_address(true), error);
        if (!error) m_acceptor.bind(endpoint, error);
        if (!error) m_acceptor.listen(asio::socket_base::max_listen_connections, error);
        if (error)
            throw std::runtime_error("cannot listen on port " + std::to_string(options.port) + ": " + error.message());
        Accept();
    }

    std::string Endpoint() const override {
        const tcp::endpoint endpoint = m_acceptor.local_endpoint();
        return endpoint.address().to_string() + ":" + std::to_string(endpoint.port());
    }
    void Stop() override {
        error_code ignored;
        m_acceptor.close(ignored);
        for (const auto& weak : m_relays)
            if (const auto relay = weak.lock()) relay->Close();
    }

  private:
    void UseCertificate() {
        TestCertificate made = MakeTestCertificate(m_options.tls.certificate);
        SSL_CTX* const context = m_context.native_handle();
        const int version = m_options.tls.version == 13 ? TLS1_3_VERSION : TLS1_2_VERSION;
        const bool isTaken = SSL_CTX_set_min_proto_version(context, version) == 1 &&
                             SSL_CTX_set_max_proto_version(context, version) == 1 &&
                             SSL_CTX_use_certificate(context, made.certificate.get()) == 1 &&
                             SSL_CTX_use_PrivateKey(context, made.key.get()) == 1;
        if (!isTaken) throw std::runtime_error("the certificate cannot be used");
        if (made.root && !m_options.tls.rootFile.empty()) WriteCertificate(*made.root, m_options.tls.rootFile);
        m_print("certificate sha256=" + made.fingerprint);
    }
    void Accept() {
        m_acceptor.async_accept([this](const error_code& error, tcp::socket socket) {
            if (!m_acceptor.is_open()) return;
            if (!error) {
                const auto relay = std::make_shared<CRelay>(std::move(socket), m_context, m_options);
                std::erase_if(m_relays, [](const auto& weak) { return weak.expired(); });
                m_relays.push_back(relay);
                relay->Start(m_pool, m_print);
            }
            Accept();
        });
    }

    const PoolOptions& m_options;
    const tcp::endpoint m_pool;
    const std::function<void(const std::string&)> m_print;
    asio::ssl::context m_context;
    tcp::acceptor m_acceptor;
    std::vector<std::weak_ptr<CRelay>> m_relays;
};

}  // namespace

std::unique_ptr<ITlsFront> MakeTlsFront(asio::io_context& io, const PoolOptions& options, std::uint16_t poolPort,
                                        const std::function<void(const std::string&)>& print) {
    return std::make_unique<CTlsFront>(io, options, poolPort, print);
}
