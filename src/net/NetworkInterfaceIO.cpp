#include "net/NetworkInterfaceIO.h"

void _NetworkInterfaceIO::OnThreadStart(void*) {
    OnStart();
    m_running = 1;
}

void _NetworkInterfaceIO::OnThreadEnd(void*, std::uint32_t) {
    OnStop();
    m_running = 0;
}

void _NetworkInterfaceIO::SetState(ConnectionState state) {
    if (state != ConnectionState::Disconnected && state != ConnectionState::Connected) return;
    if (m_state.exchange(state) == state) return;
    if (state == ConnectionState::Connected) {
        OnConnected(1);
    } else {
        OnDisconnected(0);
    }
}
