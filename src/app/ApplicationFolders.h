#pragma once
#include <windows.h>
#include <string>
#include "support/DataFolder.h"
#include "toolkit/Gdi.h"

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
    std::wstring dataFolder;       // of Settings and Logs: the executable's folder unless moved
    bool dataFolderMoved = false;  // that cannot be written, so the user's own serves
    bool dataFolderIsNew = false;  // moved, for the first time
    std::wstring dataFolderNote;   // for the event log; mostly empty
    std::wstring temporaryFolder;
    std::wstring themesFolder;
};

// Fills the record and creates Settings, Logs and Logs\Miner; a new folder of the user's own gets the program's settings.
// Failures to create are ignored: the folders mostly exist.
ApplicationFolders SetUpFolders(const DataFolder& data);
