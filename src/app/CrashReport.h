#pragma once
#include <windows.h>
#include <span>
#include <string>

// Where a crash happened, for the event log: "in Bad.dll+0x1234". In a module of the system, the first module on the stack
// that is none follows: "in ntdll.dll+0x1234, called from Bad.dll+0x1234"; outside every module the address comes first, "at
// 0x0, called from ...". Called on the crashed thread, which may hold any lock and have broken the heap: takes no lock of
// its own and allocates nothing. Reading a broken stack may crash once more.
void WriteCrashPlace(std::span<wchar_t> out, const CONTEXT& context);

// Unwinds the context, which is in a function of the executable itself, to what called into the executable: that is who
// aborts, when the C runtime calls a handler. The same holds as above.
void LeaveExecutable(CONTEXT& context);

// From now on a crash of this process (an exception of the system or of C++ that nobody handles, abort, a pure virtual call,
// an invalid argument to the C runtime) leaves a minidump, "Quorvel-Miner_<date>_<time>.dmp" in the folder of the logs (ends
// with a backslash), and a line in the event log that says what happened and in which module, and ends the process with the
// exception's code; no box of the system or of the C runtime is shown. Of earlier dumps the newest five are kept. To be
// called once, on the main thread, before all that may crash.
void InstallCrashReport(const std::wstring& logsFolder);
