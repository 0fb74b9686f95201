#pragma once
#include <windows.h>
#include <cstdint>
#include <optional>
#include <string>
#include "net/Resolver.h"

// Looks up a host without ever keeping the caller from stopping: the resolver runs on a thread of its own, which shares only
// the request with the caller and is left behind (to end whenever the resolver returns) when stopEvent is set first.
// Nothing: stopEvent was set. A dotted address needs neither resolver nor thread.
std::optional<ResolveResult> LookUpHost(IResolver& resolver, const std::wstring& host, HANDLE stopEvent);

// The system's text for an error code, without the line break at its end; empty when it has none.
std::string SystemMessage(std::uint32_t code);
