#pragma once
#include <array>
#include <optional>
#include "common/Time.h"
#include "net/AddressRound.h"
#include "net/NetworkInterfaceSocket.h"

inline constexpr std::size_t kReceiveArea = 4096;

// What the connection's thread holds while it runs.
struct _NetworkInterfaceSocket::Loop {
    Loop(char delimiter, std::size_t limit) : framer(delimiter, limit) {}

    std::array<char, kReceiveArea> area;
    CLineFramer framer;
    CNetworkEvent dataEvent;
    CNetworkEvent listenEvent;
    std::uint32_t receiveError = 0;  // of the reception that failed

    // Client.
    CAddressRound round;
    unsigned triesAgain = 0;             // answers "try again" of the resolver in a row
    std::optional<TimeSpan> connectEnd;  // on the monotonic clock: when the address being tried has had its time

    // Server.
    std::optional<TimeSpan> listenAt;  // on the monotonic clock: when to listen again
    unsigned listenTries = 0;          // in a row that failed
    std::uint32_t listenError = 0;     // last told by OnError
};

// The socket's option and the monotonic clock of every part of the loop.
void SendAtOnce(SOCKET socket);
TimeSpan FromNow(std::uint32_t milliseconds);
