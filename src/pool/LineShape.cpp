#include "pool/LineShape.h"

namespace {

// Behind the closing quote of the string that starts before from; the end when there is none.
std::size_t EndOfString(std::string_view line, std::size_t from) {
    for (;;) {
        const std::size_t at = line.find_first_of("\"\\", from);
        if (at == std::string_view::npos) return line.size();
        if (line[at] == '"') return at + 1;
        from = at + 2;  // past what the backslash escapes
    }
}

}  // namespace

bool IsReasonableLine(std::string_view line) {
    if (line.size() <= kSmallLine) return true;
    std::size_t values = 1;
    std::size_t depth = 0;
    for (std::size_t at = 0; at < line.size();) {
        switch (line[at++]) {
            case '"':
                at = EndOfString(line, at);
                break;
            case '[':
            case '{':
                if (++depth > kMaximumDepth) return false;
                ++values;
                break;
            case ']':
            case '}':
                if (depth > 0) --depth;
                break;
            case ',':
            case ':':
                ++values;
                break;
            default:
                break;
        }
        if (values > kMaximumValues) return false;
    }
    return true;
}
