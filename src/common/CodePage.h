#pragma once
#include <cstddef>
#include <span>
#include <string>
#include <string_view>

// Narrow text of the program is in the system's ANSI code page (natively: Latin-1, for tests of the portable code).
// Any thread; nothing throws but std::bad_alloc.

// At most one byte per wide character: a character that needs two is cut off at the end of the text.
std::string WideToNarrow(std::wstring_view text);
std::wstring NarrowToWide(std::string_view text);

// Fills a fixed, always terminated field; a longer text is cut. Returns false when it was cut.
bool NarrowToField(std::string_view text, std::span<wchar_t> field) noexcept;
bool CopyToField(std::wstring_view text, std::span<wchar_t> field) noexcept;
bool CopyToField(std::string_view text, std::span<char> field) noexcept;

// Between the ANSI code page and UTF-8. lossy (may be null) is set when a character had no equivalent.
std::string Utf8ToNarrow(std::string_view utf8, bool* lossy);
std::string NarrowToUtf8(std::string_view text);
std::string WideToUtf8(std::wstring_view text);
// From a code page of the system's (natively: all are Latin-1); one that it does not have is taken for the ANSI one.
std::string CodePageToUtf8(unsigned codePage, std::string_view text);
// What is malformed becomes U+FFFD. Windows only.
std::wstring Utf8ToWide(std::string_view text);
