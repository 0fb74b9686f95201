#pragma once
#include <cstdint>

// Window messages of the miner's own windows; the numbers of the plug-in boundary stand in quorvel/plugin.h. lParam is 0
// where nothing else is said.

// To the main dialog, posted.
inline constexpr unsigned kMessageWorker = 0x1404;        // the default worker name changed
inline constexpr unsigned kMessageControlState = 0x1405;  // wParam: ControlState
inline constexpr unsigned kMessageRefresh = 0x1406;       // pools and configurations were replaced
inline constexpr unsigned kMessageMining = 0x1407;        // wParam: 1 start mining, 0 stop; lParam: MiningAsker

// Of the control channel.
enum class ControlState : std::uint32_t { Undefined = 0, Offline = 1, Listening = 2, Connected = 3 };
