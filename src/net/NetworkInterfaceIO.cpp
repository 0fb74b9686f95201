#include "net/NetworkInterfaceIO.h"
#include <new>

namespace {

// Runs a hook, which must not end the process: what it had no memory for stays undone.
template <typename Hook>
void CallHook(Hook hook) {
    try {
        hook();
    } catch (const std::bad_alloc&) {
        return;
    }
}

}  // namespace

void _NetworkInterfaceIO::OnThreadStart(void*) {
    CallHook([this] { OnStart(); });
    m_running = 1;
}

void _NetworkInterfaceIO::OnThreadEnd(void*, std::uint32_t) {
    CallHook([this] { OnStop(); });
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
