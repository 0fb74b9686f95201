#pragma once
#include <winsock2.h>
#include <utility>

// Owners of Windows Sockets resources.

// One start of Windows Sockets 2.2, undone at the end of its life.
class CWinsockSession {
  public:
    CWinsockSession() {
        WSADATA data = {};
        m_started = WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }
    ~CWinsockSession() {
        if (m_started) WSACleanup();
    }
    CWinsockSession(const CWinsockSession&) = delete;
    CWinsockSession& operator=(const CWinsockSession&) = delete;

  private:
    bool m_started = false;
};

// A socket, or none. Closing takes it off its event first.
class CSocket {
  public:
    CSocket() = default;
    explicit CSocket(SOCKET socket) : m_socket(socket) {}
    ~CSocket() { Close(); }
    CSocket(CSocket&& other) noexcept : m_socket(std::exchange(other.m_socket, INVALID_SOCKET)) {}
    CSocket& operator=(CSocket&& other) noexcept {
        if (this != &other) {
            Close();
            m_socket = std::exchange(other.m_socket, INVALID_SOCKET);
        }
        return *this;
    }

    SOCKET Get() const { return m_socket; }
    bool IsOpen() const { return m_socket != INVALID_SOCKET; }
    void Close() {
        if (!IsOpen()) return;
        WSAEventSelect(m_socket, nullptr, 0);
        closesocket(std::exchange(m_socket, INVALID_SOCKET));
    }

  private:
    SOCKET m_socket = INVALID_SOCKET;
};

// A manual-reset event, created non-signalled.
class CNetworkEvent {
  public:
    CNetworkEvent() : m_event(WSACreateEvent()) {}
    ~CNetworkEvent() {
        if (IsValid()) WSACloseEvent(m_event);
    }
    CNetworkEvent(const CNetworkEvent&) = delete;
    CNetworkEvent& operator=(const CNetworkEvent&) = delete;

    WSAEVENT Get() const { return m_event; }
    // Tries once more when there is none. False: there still is none.
    bool Create() {
        if (!IsValid()) m_event = WSACreateEvent();
        return IsValid();
    }
    bool IsValid() const { return m_event != WSA_INVALID_EVENT; }

  private:
    WSAEVENT m_event;
};
