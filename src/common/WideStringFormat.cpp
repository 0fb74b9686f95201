#include <cstdarg>

#include "common/Format.h"
#include "common/WideString.h"

bool CWideString::AppendFormat(const wchar_t* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const bool done = AppendFormatList(format, arguments);
    va_end(arguments);
    return done;
}

bool CWideString::AppendFormatList(const wchar_t* format, __builtin_va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    wchar_t* out = PrepareWrite(m_length);
    int written = FormatAnsiAware(out + m_length, Capacity() - m_length - 1, format, arguments);
    if (written < 0) {
        va_list once;
        va_copy(once, again);
        const int needed = MeasureAnsiAware(format, once);
        va_end(once);
        out[m_length] = L'\0';
        if (needed >= 0) {
            out = PrepareWrite(m_length + static_cast<std::size_t>(needed));
            written = FormatAnsiAware(out + m_length, static_cast<std::size_t>(needed), format, again);
        }
    }
    va_end(again);
    if (written > 0) m_length += static_cast<std::size_t>(written);
    out[m_length] = L'\0';
    return written >= 0;
}
