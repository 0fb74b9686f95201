#pragma once
#include <string>

// Where the settings and logs of this user live: beside the program, or, where that cannot be written (Program Files, a
// medium that is read-only), in %LOCALAPPDATA%\Quorvel-Miner. Windows only; any thread. Folder paths end with a backslash.

struct DataFolder {
    std::wstring path;
    bool isMoved = false;  // it is not the program's
    bool isNew = false;    // it is not the program's, and there are no settings in it yet
    std::wstring reason;   // why it is not the program's, or why even that one cannot be written; mostly empty
};

// The folder of the running executable.
std::wstring ProgramFolder();

// Decides by writing: makes the folder's Settings and Logs, and in each a file that is gone when this returns. Of the user's
// own folder only Logs is made, so that whoever asks first does not take isNew from the miner. Where neither can be written
// the program's folder it is.
DataFolder FindDataFolder(const std::wstring& programFolder);

// For the miner, after FindDataFolder: makes Settings in a folder that is not the program's and, when it is new, copies the
// program's settings there. A line for the event log that says all that; empty when the data is beside the program.
std::wstring PrepareDataFolder(const DataFolder& data, const std::wstring& programFolder);
