#pragma once

// What the miner and its guard agree on, besides the miner's mutex, which has the name of the application.

// Given to the miner: nobody is there to answer a message box. It writes to the event log instead and ends with a code of
// its own.
inline constexpr wchar_t kGuardedOption[] = L"/guarded";
// Given as well after a crash or a hang: mining and listening are taken up again if they ran, whatever is chosen for the
// program's start.
inline constexpr wchar_t kResumeOption[] = L"/resume";
// A manual-reset event, set by a miner whose window was closed: a person does not want it back, however it ends. The guard
// resets it before it starts a miner.
inline constexpr wchar_t kClosingEventName[] = L"Quorvel-Miner closing";

inline constexpr int kExitNoGpus = 41;
inline constexpr int kExitSecondInstance = 42;
inline constexpr int kExitNoWindow = 43;
