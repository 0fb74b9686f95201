#pragma once
#include <functional>

// Runs the work on a thread of its own that nobody waits for; it owns all that it needs. Windows only. False: no thread
// could be made, and the work is not done.
//
// Never std::thread::detach here: when the thread ends while it is being detached, the C++ runtime closes its handle twice,
// and the second time closes whatever has got the same number meanwhile, somebody's event for example.
[[nodiscard]] bool StartDetached(std::function<void()> work);
