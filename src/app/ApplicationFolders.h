#pragma once
#include <windows.h>
#include <memory>
#include <string>

struct FontDeleter {
    void operator()(HFONT font) const { DeleteObject(font); }
};
using FontHandle = std::unique_ptr<std::remove_pointer_t<HFONT>, FontDeleter>;

// Paths, fonts and screen facts: filled once at start-up, constant afterwards. Every folder path ends with a backslash.
struct ApplicationFolders {
    FontHandle largeFont;  // 19 points
    FontHandle smallFont;  // 13 points
    FontHandle textFont;   // what the system writes its messages with
    int horizontalPixelsPerInch = 96;
    int verticalPixelsPerInch = 96;
    std::wstring moduleFileName;      // file name alone
    std::wstring modulePath;          // full path of the executable
    std::wstring installationFolder;  // the executable's folder
    std::wstring settingsFolder;
    std::wstring logsFolder;
    std::wstring minerLogsFolder;  // Logs\Miner
    std::wstring algosFolder;
    std::wstring dataFolder;  // the executable's folder
    std::wstring temporaryFolder;
    std::wstring themesFolder;
};

// Fills the record and creates Settings, Logs and Logs\Miner. Failures to create are ignored: the folders mostly exist.
ApplicationFolders SetUpFolders();
