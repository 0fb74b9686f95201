#pragma once
#include <cstdint>
#include <string>
#include "config/KeptXmlFile.h"

struct SettingsRect {
    std::int32_t left = 0, top = 0, right = 0, bottom = 0;
    bool IsEmpty() const { return left >= right || top >= bottom; }
    bool operator==(const SettingsRect&) const = default;
};

// What the user sets in the main window. One record, GUI thread only.
struct RuntimeSettings {
    SettingsRect WindowPos;
    SettingsRect ConfigWorkerPos;
    SettingsRect ConfigMiningPoolsPos;
    std::int32_t StartSolverOnStart = 0;
    std::uint32_t HostIP = 16777343;  // IPv4 address in network byte order as a number: 127.0.0.1
    std::uint32_t HostPort = 8010;
    std::int32_t MainLog = 0;
    std::int32_t ConnectionLog = 0;
    std::int32_t ControlState = 0;  // 0 offline, 1 listen, 2 last state
    std::int32_t MiningState = 0;   // 0 stopped, 1 started, 2 last state
    std::int32_t LastControlState = 0;
    std::int32_t LastMiningState = 0;
    // Our own additions: in the file only when they differ from these defaults.
    std::int32_t Theme = 0;             // number of the look; 0 the program's choice
    std::int32_t HideMinimized = 0;     // non-zero: minimising hides to the notification area
    std::int32_t AskBeforeClosing = 1;  // non-zero: a user who closes the window while mining runs is asked
    std::uint32_t WarmDegrees = 75;     // a card's temperature from there on is shown in amber
    std::uint32_t HotDegrees = 85;      // and from there on in red
    std::string ControlToken;           // shared secret of the control channel, UTF-8 as in the file; empty: none
    std::string Proxy;                  // SOCKS5 proxy of all pool connections, UTF-8 as in the file; empty: none
    std::int32_t LogDays = 30;          // how long the logs of a day are kept; 0: for ever
};

// RuntimeSettingsMiner.xml. Windows only; GUI thread. settingsFolder ends with a backslash.
class CRuntimeSettingsFile {
  public:
    explicit CRuntimeSettingsFile(const std::wstring& settingsFolder);

    // Missing, malformed or unreadable: settings stay as they are. One that cannot be read is to be loaded again until it
    // can.
    FileLoad Load(RuntimeSettings& settings, Patience patience = Patience::OneSecond);
    // Why it failed, with the path, for the user; empty: it is saved. A file that was never loaded, or could not be read, is
    // left alone.
    std::wstring Save(const RuntimeSettings& settings, Patience patience = Patience::None);

  private:
    CKeptXmlFile m_file;
    bool m_loaded = false;
};
