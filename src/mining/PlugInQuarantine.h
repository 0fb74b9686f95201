#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// A plug-in library as it lies on the disk.
struct PlugInFile {
    std::string name;  // without folder; UTF-8
    std::uint64_t size = 0;
    std::uint64_t lastWrite = 0;
    bool operator==(const PlugInFile&) const = default;
};

// Which plug-ins are left out because listing them took the whole program down. Each library is noted before it is listed
// and struck off afterwards: a note that is there at the next start is a listing that did not come to its end. That may have
// been a power cut or a killed process, so it takes two in a row. Pure: the caller keeps State in a file, on the disk before
// the library is loaded.
class CPlugInQuarantine {
  public:
    static constexpr std::uint32_t kMostCrashes = 2;

    // state: what State gave in an earlier run; lines that make no sense are dropped.
    explicit CPlugInQuarantine(std::string_view state);

    // False: leave it out. A file that is not the one that crashed (by size or last-write time) starts anew.
    bool MayList(const PlugInFile& file) const;
    void Begin(const PlugInFile& file);
    void End(const PlugInFile& file);

    // One line per noted library: how many listings in a row did not end, size, last-write time, name; parted by tabs.
    std::string State() const;

  private:
    struct Note {
        std::uint32_t crashes = 0;
        PlugInFile file;
    };

    std::vector<Note> m_notes;
};
