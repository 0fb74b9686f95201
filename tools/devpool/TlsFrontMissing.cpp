#include <stdexcept>

#include "TlsFront.h"

std::unique_ptr<ITlsFront> MakeTlsFront(boost::asio::io_context&, const PoolOptions&, std::uint16_t,
                                        const std::function<void(const std::string&)>&) {
    throw std::runtime_error("--tls is not part of the build for Windows");
}
