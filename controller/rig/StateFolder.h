#pragma once
#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

#include "rig/RigAddress.h"

// Where this program keeps what it has to remember: $XDG_STATE_HOME/quorvel-control (else ~/.local/state/quorvel-control),
// on Windows %APPDATA%\quorvel-control. Files are written whole or not at all and, where the system knows that, readable by
// their owner alone, for they hold passwords and the token.
class CStateFolder {
  public:
    explicit CStateFolder(std::filesystem::path folder) : m_folder(std::move(folder)) {}
    static std::filesystem::path DefaultPath();

    const std::filesystem::path& Path() const { return m_folder; }
    std::filesystem::path SentFile(const RigAddress& rig) const;  // what was last sent to that rig
    std::filesystem::path TokenFile() const { return m_folder / "web-token"; }

    // Throws std::runtime_error when the file cannot be written.
    void Write(const std::filesystem::path& file, std::string_view content) const;

  private:
    std::filesystem::path m_folder;
};

// A file that, where the system knows that, its owner alone can read, from the moment on that it exists. One that exists is
// left alone, or replaced as a whole. Throws std::runtime_error when that fails.
void WritePrivateFile(const std::filesystem::path& file, std::string_view content, bool replace);

// Nothing: missing, unreadable or longer than maxBytes.
std::optional<std::string> ReadWhole(std::istream& in, std::size_t maxBytes = 1 << 20);
std::optional<std::string> ReadWholeFile(const std::filesystem::path& file, std::size_t maxBytes = 1 << 20);
