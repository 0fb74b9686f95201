#include "kit/SessionThreads.h"

#include <atomic>
#include <exception>
#include <memory>
#include <utility>

#include "kit/ExecutableHost.h"
#include "kit/PluginSession.h"
#include "kit/ThisLibrary.h"

namespace {

constexpr DWORD kLongestOpening = 10'000;

struct HandleCloser {
    using pointer = HANDLE;
    void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
};
using UniqueHandle = std::unique_ptr<HANDLE, HandleCloser>;

// A session on its way to having a window: shared between the caller who waits and the thread, whichever lasts longer.
class COpening {
  public:
    explicit COpening(const PluginIdentity& identity)
        : m_identity(identity), m_settled(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

    const PluginIdentity& Identity() const { return m_identity; }

    // False when nobody waits any more.
    bool Offer(HWND window) {
        m_window = window;
        State expected = State::Waiting;
        const bool taken = m_state.compare_exchange_strong(expected, State::Offered);
        SetEvent(m_settled.get());
        return taken;
    }

    HWND Wait() {
        WaitForSingleObject(m_settled.get(), kLongestOpening);
        State expected = State::Waiting;
        return m_state.compare_exchange_strong(expected, State::Abandoned) ? nullptr : m_window;
    }

  private:
    enum class State { Waiting, Offered, Abandoned };

    const PluginIdentity& m_identity;
    std::atomic<State> m_state{State::Waiting};
    HWND m_window = nullptr;
    UniqueHandle m_settled;
};
using OpeningPointer = std::shared_ptr<COpening>;

DWORD WINAPI SessionThread(void* argument) {
    OpeningPointer opening = std::move(*std::unique_ptr<OpeningPointer>(static_cast<OpeningPointer*>(argument)));
    CExecutableHost host(opening->Identity().logName);
    try {
        CPluginSession session(opening->Identity(), host);
        HWND const window = session.CreateMessageWindow();
        const bool wanted = opening->Offer(window) && window != nullptr;
        opening.reset();
        if (wanted) CPluginSession::RunMessages();
    } catch (const std::exception& error) {
        host.Log(error.what());
        if (opening != nullptr) opening->Offer(nullptr);
    }
    return 0;
}

// Keeps the library loaded for the time of the session's thread. Of the C++ runtime it may use only what leaves nothing
// behind in a thread.
DWORD WINAPI KeeperThread(void* argument) {
    HMODULE const library = ThisLibrary();
    {
        std::unique_ptr<OpeningPointer> opening(static_cast<OpeningPointer*>(argument));
        const UniqueHandle thread(CreateThread(nullptr, 0, SessionThread, opening.get(), 0, nullptr));
        if (thread != nullptr) {
            static_cast<void>(opening.release());  // it is the thread's now
            WaitForSingleObject(thread.get(), INFINITE);
        } else {
            (*opening)->Offer(nullptr);
        }
    }
    FreeLibraryAndExitThread(library, 0);
}

}  // namespace

HWND OpenPluginSession(const PluginIdentity& identity) {
    HMODULE reference = nullptr;  // the keeper's
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<const wchar_t*>(&OpenPluginSession),
                            &reference)) {
        return nullptr;
    }
    const OpeningPointer opening = std::make_shared<COpening>(identity);
    auto forKeeper = std::make_unique<OpeningPointer>(opening);
    const UniqueHandle keeper(CreateThread(nullptr, 0, KeeperThread, forKeeper.get(), 0, nullptr));
    if (keeper == nullptr) {
        FreeLibrary(reference);
        return nullptr;
    }
    static_cast<void>(forKeeper.release());  // it is the keeper's now
    return opening->Wait();
}
