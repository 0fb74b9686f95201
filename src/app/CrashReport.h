#pragma once
#include <string>

// From now on a crash of this process (an exception of the system or of C++ that nobody handles, abort, a pure virtual call,
// an invalid argument to the C runtime) leaves a minidump, "Quorvel-Miner_<date>_<time>.dmp" in the folder of the logs (ends
// with a backslash), and a line in the event log that says what happened and in which module, and ends the process with the
// exception's code; no box of the system or of the C runtime is shown. Of earlier dumps the newest five are kept. To be
// called once, on the main thread, before all that may crash.
void InstallCrashReport(const std::wstring& logsFolder);
