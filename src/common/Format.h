#pragma once
#include <cstdarg>
#include <span>

// Formatted printing into the caller's fixed buffer: never past its end, always terminated, never the C runtime's abort.
// Returns the number of characters written; -1 when the text was cut or the format failed.

#if defined(__GNUC__)
__attribute__((format(printf, 2, 3)))
#endif
int FormatTo(std::span<char> out, const char* format, ...);

#ifdef _WIN32
// %s is wide text, %S narrow text in the ANSI code page.
int FormatTo(std::span<wchar_t> out, const wchar_t* format, ...);

// The same without a terminator, into count characters; -1 when it does not fit. The building block of the others.
int FormatAnsiAware(wchar_t* out, std::size_t count, const wchar_t* format, va_list arguments);
// The number of characters that FormatAnsiAware would write.
int MeasureAnsiAware(const wchar_t* format, va_list arguments);
#endif
