#include "common/DetachedThread.h"

#include <process.h>

#include <memory>
#include <utility>

#include "common/Handle.h"

namespace {

using Work = std::function<void()>;

unsigned __stdcall Entry(void* argument) noexcept {
    const std::unique_ptr<Work> work(static_cast<Work*>(argument));
    (*work)();
    return 0;
}

}  // namespace

bool StartDetached(Work work) {
    auto owned = std::make_unique<Work>(std::move(work));
    const CHandle thread(reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, &Entry, owned.get(), 0, nullptr)));
    if (!thread) return false;
    static_cast<void>(owned.release());  // it is the thread's now
    return true;
}
