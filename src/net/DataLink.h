#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include "net/Resolver.h"

// What has happened to a link since it was asked last; each with a Windows Sockets code, 0: none.
struct LinkEvents {
    std::optional<std::uint32_t> failed;     // it cannot be asked any more
    std::optional<std::uint32_t> connected;  // the end of Connect
    std::optional<std::uint32_t> readable;
    std::optional<std::uint32_t> closed;  // by the other side, or broken; there may still be something to receive
};

struct LinkTransfer {
    std::uint32_t error = 0;
    std::size_t bytes = 0;  // without an error: 0 received means that there is nothing now
};

// Beside the codes of Windows Sockets a failure has those of encryption and certificates, which are negative, and a proxy's:
// that bit and a code of Windows Sockets.
inline constexpr std::uint32_t kProxyFailure = 0x20000000;
inline constexpr std::uint32_t kTrustFailure = 0x80000000;

// Why a link is not connected, where a code of Windows Sockets says too little.
struct LinkFailure {
    std::string text;  // for the user, narrow
    std::uint32_t code = 0;
};

// One connection's way for bytes, from its beginning to its end, which its destruction is. What carries them (a plain
// socket, an encrypted one) is its own affair. It signals the event that it was made with when there are Events to take.
//
// The connection's thread: everything but Send. Send: any thread, one at a time and not during Connect or destruction; also
// while the connection's thread receives. Nothing here blocks.
class IDataLink {
  public:
    virtual ~IDataLink() = default;
    // Begins; once. 0, or why it cannot.
    virtual std::uint32_t Connect(const HostAddress& address, std::uint32_t port) = 0;
    virtual LinkEvents TakeEvents() = 0;
    // Why the connection failed, or what it is waiting for until it is there; nothing: the codes say it.
    virtual std::optional<LinkFailure> Failure() const { return std::nullopt; }
    // What keeps others from reading and changing the bytes of the connection that is there, narrow, for a log; empty:
    // nothing.
    virtual std::string Protection() const { return {}; }
    virtual LinkTransfer Receive(std::span<char> area) = 0;
    // All in one call; short sends are not repeated.
    virtual LinkTransfer Send(std::string_view bytes) = 0;
};
