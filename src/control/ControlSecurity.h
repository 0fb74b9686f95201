#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Takes the same time for every difference between texts of one length. Any thread.
bool IsSameToken(std::string_view given, std::string_view expected);

// Whether only programs of this machine reach the address (127.0.0.0/8). IPv4, network byte order as a number; 0, which
// stands for every address of the machine, is none.
bool IsLoopback(std::uint32_t address);

// What the log is to say when the channel listens at the address with or without a token; empty: nothing.
std::wstring ListenWarning(std::uint32_t address, std::uint32_t port, bool hasToken);

// A line in the form of an HTTP request, which a page in a browser of this machine can send: its method and target, cut
// short and fit for a log. Nothing: another line.
std::optional<std::wstring> HttpRequestOf(std::string_view line);
