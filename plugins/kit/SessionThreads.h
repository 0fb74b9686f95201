#pragma once
#include <windows.h>
#include "kit/PluginEngine.h"

// Opens a mining session on a thread of its own and returns its window; null when that was not there within some seconds.
// identity lives as long as the library.
//
// The library may be freed as soon as the stop message has returned, while the session's thread is still on its way out. So
// each session has a second thread, which holds a reference to the library, waits until the first has ended completely and
// gives the reference up by the call that leaves the library and ends the thread at once. (The session's thread could not do
// that for itself: what the C++ runtime keeps per thread is freed only when a thread ends while its library is loaded.)
HWND OpenPluginSession(const PluginIdentity& identity);
