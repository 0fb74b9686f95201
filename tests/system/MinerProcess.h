#pragma once
#include <gtest/gtest.h>
#include <string>
#include <vector>
#include "ProcessTools.h"
#include "fixtures/ScratchFolder.h"

// The real program in a folder of its own with simulated cards, removed with the object.
class CMinerRig {
  public:
    enum class Driver { Simulated, Missing };

    explicit CMinerRig(Driver driver = Driver::Simulated);
    CMinerRig(const CMinerRig&) = delete;
    CMinerRig& operator=(const CMinerRig&) = delete;

    const std::filesystem::path& Folder() const { return m_folder.Path(); }
    std::filesystem::path ConfigurationFile() const { return m_folder.Path("Settings/ConfigMiner.xml"); }

    // Adds a plug-in, and makes Configure name it.
    void Install(const std::filesystem::path& plugIn, int algorithm);
    // One configuration with both simulated cards on the pools at these ports; mining starts with the program. secondPort 0:
    // no backup pool.
    void Configure(unsigned firstPort, unsigned secondPort = 0);
    void WriteSettings(const std::string& attributes);

    CChildProcess Launch() const;
    // Starts the program and waits for its main window; null when it did not come.
    HWND Start();
    // Closes the main window and waits for the end of the process: its exit code, -1 when it did not end.
    int Close();
    HWND Window() const { return m_window; }
    // Of the main dialog, by the numbers that stay the same from version to version.
    std::wstring ItemText(int id) const;
    // Each item by itself: one that already shows a change tells nothing of the next item, since the program may answer in
    // the middle of a change.
    testing::AssertionResult WaitForText(int id, const std::wstring& text) const;
    bool WaitForEnabled(int id, bool enabled) const;
    // As a click with the mouse.
    void Click(int id) const { PostMessageW(GetDlgItem(m_window, id), BM_CLICK, 0, 0); }
    // The lines of the GPU grid, the header first; columns are parted by tabs.
    std::vector<std::wstring> GridLines() const;
    CChildProcess& Process() { return m_process; }

    std::string MainLog() const { return Logs(m_folder.Path("Logs")); }
    std::string ConnectionLog() const { return Logs(m_folder.Path("Logs/Miner")); }
    // Sums of accepted, stale and rejected over the lines that the program writes when mining stops.
    std::vector<unsigned> ClosingCounts() const;

  private:
    static std::string Logs(const std::filesystem::path& folder);

    CScratchFolder m_folder;
    CChildProcess m_process;
    HWND m_window = nullptr;
    int m_algorithm = 2;
};
