#pragma once
#include <string>
#include <string_view>

// Files that are never half-written. Windows only; any thread; errors are Windows error codes, 0 on success.

// Writes a temporary file beside the target, flushes it and replaces the target, retrying while somebody has it open.
// Leaves the file alone (and its time) when it already holds exactly these bytes.
unsigned long ReplaceFileContents(const wchar_t* path, std::string_view bytes);

// Reads a whole file (at most 64 MiB). ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND: no such file.
unsigned long ReadFileContents(const wchar_t* path, std::string& bytes);

// Copies path to path + suffix (L".bad", L".bak"), replacing an older copy.
unsigned long KeepCopy(const wchar_t* path, const wchar_t* suffix);
