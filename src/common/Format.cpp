#include "common/Format.h"

#include <cstdio>

namespace {

#if defined(__GNUC__)
__attribute__((format(printf, 2, 0)))
#endif
int Print(std::span<char> out, const char* format, va_list arguments) {
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the caller has started it
    const int needed = std::vsnprintf(out.data(), out.size(), format, arguments);
    if (needed >= 0 && static_cast<std::size_t>(needed) < out.size()) return needed;
    (needed < 0 ? out.front() : out.back()) = '\0';
    return -1;
}

}  // namespace

int FormatTo(std::span<char> out, const char* format, ...) {
    if (out.empty()) return -1;
    va_list arguments;
    va_start(arguments, format);
    const int written = Print(out, format, arguments);
    va_end(arguments);
    return written;
}
