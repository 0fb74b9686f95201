#pragma once

// Window messages of the miner's own windows; the numbers of the plug-in boundary stand in quorvel/plugin.h. lParam is 0.

// To the main dialog, posted.
inline constexpr unsigned kMessageWorker = 0x1404;        // the default worker name changed
inline constexpr unsigned kMessageControlState = 0x1405;  // wParam: 1 offline, 2 listening, 3 connected
inline constexpr unsigned kMessageRefresh = 0x1406;       // pools and configurations were replaced
inline constexpr unsigned kMessageMining = 0x1407;        // wParam: 1 start mining, 0 stop

// To a mining manager, posted by its pool sessions. All but the last of the range (kMessageReconnect, which the session
// declares) are accepted and ignored.
inline constexpr unsigned kMessageSessionFirst = 0x3400;
inline constexpr unsigned kMessageSessionLast = 0x3407;
