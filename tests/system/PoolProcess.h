#pragma once
#include <string>
#include "ProcessTools.h"
#include "fixtures/ScratchFolder.h"

// The local pool on a port that the system chose.
class CPoolProcess {
  public:
    // arguments: further options, for example "--mode 2".
    CPoolProcess(const std::filesystem::path& folder, const std::string& name, const std::string& arguments);

    unsigned Port() const { return m_port; }  // 0: it did not start
    std::string Output() const { return FileBytes(m_output); }
    // How often a text stands in the output.
    std::size_t Count(const std::string& text) const;
    // Shares of the current job that the pool refused, and shares of none that it knows. A share that crosses a new job on
    // its way is stale, which nobody can help.
    std::size_t Refused() const;
    std::size_t Stale() const;
    bool WaitForAccepted(std::size_t shares, DWORD milliseconds) const;

  private:
    std::filesystem::path m_output;
    CChildProcess m_process;
    unsigned m_port = 0;
};
