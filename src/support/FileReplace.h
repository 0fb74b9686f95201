#pragma once
#include <string>
#include <string_view>

// Files that are never half-written. Windows only; any thread; errors are Windows error codes, 0 on success.

// What to do while somebody else (a virus scanner, an editor, a backup) has a file open.
enum class Patience {
    None,       // give up at once: for a thread that must not wait
    OneSecond,  // try again for a second
};

// Writes a temporary file beside the target, flushes it and replaces the target. Leaves the file alone (and its time) when
// it already holds exactly these bytes.
unsigned long ReplaceFileContents(const wchar_t* path, std::string_view bytes, Patience patience = Patience::OneSecond);

// Reads a whole file (at most 64 MiB). ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND: no such file.
unsigned long ReadFileContents(const wchar_t* path, std::string& bytes, Patience patience = Patience::OneSecond);

// Removes what a process that was killed while it replaced the file has left beside it. Only while nobody else replaces it.
void RemoveTemporaries(const wchar_t* path);

// The error in the system's words and its number: "Access is denied (5)".
std::wstring FileErrorText(unsigned long error);

// Copies of a file of the user's, numbered, so that none is overwritten: "<path>.bak", "<path>.bak2", "<path>.bak3", ...
// Windows only; one thread at a time per file; errors are Windows error codes.

inline constexpr std::size_t kMostCopies = 10;  // of one suffix; the oldest goes

struct KeptCopy {
    unsigned long error = 0;
    std::wstring name;  // without folder; empty: there is no such file to copy
};

// suffix: L".bak" or L".bad". A copy that holds the very same bytes is not made again. Waits at most a second for who has
// the file open.
KeptCopy KeepCopy(const std::wstring& path, const std::wstring& suffix);
