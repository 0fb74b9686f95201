#pragma once
#include <string>

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
