#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// What the log is to say when the channel listens at the address with or without a token; empty: nothing.
std::wstring ListenWarning(std::uint32_t address, std::uint32_t port, bool hasToken);

// Why the channel cannot listen, for a Windows Sockets error of it; one line.
inline constexpr std::uint32_t kListenAgainSeconds = 5;
std::wstring ListenTrouble(std::uint32_t address, std::uint32_t port, std::uint32_t error);

// What a controller without the token has to guess at least.
inline constexpr std::size_t kFewestTokenCharacters = 16;
// Why no channel is to be opened with this token (UTF-8); empty: it is good, or there is none.
std::wstring TokenTrouble(std::string_view token);

// A line in the form of an HTTP request, which a page in a browser of this machine can send: its method and target, cut
// short and fit for a log. Nothing: another line.
std::optional<std::wstring> HttpRequestOf(std::string_view line);
