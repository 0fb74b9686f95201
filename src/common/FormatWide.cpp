#include <clocale>
#include <cwchar>

#include "common/Format.h"

namespace {

// The C runtime's own "C" locale would turn each byte of %S into the wide character of that number. Made once, never freed.
_locale_t AnsiLocale() {
    static const _locale_t locale = _create_locale(LC_CTYPE, ".ACP");
    return locale;
}

}  // namespace

int FormatAnsiAware(wchar_t* out, std::size_t count, const wchar_t* format, va_list arguments) {
    return _vsnwprintf_l(out, count, format, AnsiLocale(), arguments);
}

int MeasureAnsiAware(const wchar_t* format, va_list arguments) {
    return _vscwprintf_l(format, AnsiLocale(), arguments);
}

int FormatTo(std::span<wchar_t> out, const wchar_t* format, ...) {
    if (out.empty()) return -1;
    out.front() = L'\0';
    va_list arguments;
    va_start(arguments, format);
    const int written = FormatAnsiAware(out.data(), out.size() - 1, format, arguments);
    va_end(arguments);
    if (written >= 0) {
        out[static_cast<std::size_t>(written)] = L'\0';
    } else {
        out.back() = L'\0';
    }
    return written;
}
