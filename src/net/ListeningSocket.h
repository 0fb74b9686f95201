#pragma once
#include <winsock2.h>
#include <cstdint>
#include "net/SocketHandles.h"

struct ListenResult {
    CSocket socket;           // open when error is 0
    std::uint32_t error = 0;  // Windows Sockets code
};

// A non-blocking listening socket that signals FD_ACCEPT on acceptEvent. address: IPv4 in network byte order, 0 for every
// address of this machine.
ListenResult OpenListeningSocket(std::uint32_t address, std::uint32_t port, WSAEVENT acceptEvent);
