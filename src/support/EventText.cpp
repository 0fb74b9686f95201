#include <algorithm>
#include "support/Event.h"

namespace {

constexpr std::size_t kMostCharacters = 1000;

const wchar_t* KindName(EventKind kind) {
    switch (kind) {
        case EventKind::Program:
            return L"program";
        case EventKind::Mining:
            return L"mining";
        case EventKind::Pool:
            return L"pool";
        case EventKind::Gpu:
            return L"gpu";
        case EventKind::PlugIn:
            return L"plug-in";
        case EventKind::Fee:
            return L"fee";
        case EventKind::Configuration:
            return L"configuration";
        case EventKind::Control:
            return L"control";
        case EventKind::Guard:
            return L"guard";
    }
    return L"";
}

void AppendField(std::wstring& line, std::wstring_view field) {
    const std::size_t start = line.size();
    line.append(field.substr(0, kMostCharacters));
    std::replace_if(
        line.begin() + static_cast<std::ptrdiff_t>(start), line.end(), [](wchar_t c) { return c < L' ' || c == L'\x7F'; },
        L' ');
}

}  // namespace

std::wstring EventText(EventKind kind, std::wstring_view subject, std::wstring_view text) {
    std::wstring line = KindName(kind);
    line += L'\t';
    AppendField(line, subject);
    line += L'\t';
    AppendField(line, text);
    return line;
}
