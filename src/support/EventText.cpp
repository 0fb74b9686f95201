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

}  // namespace

std::wstring_view WriteEventText(std::span<wchar_t> buffer, EventKind kind, std::wstring_view subject,
                                 std::wstring_view text) {
    std::size_t used = 0;
    const auto put = [&](wchar_t c) {
        if (used < buffer.size()) buffer[used++] = c;
    };
    const auto putField = [&](std::wstring_view field) {
        for (const wchar_t c : field.substr(0, kMostCharacters))
            put(c < L' ' || c == L'\x7F' ? L' ' : c);
    };
    putField(KindName(kind));
    put(L'\t');
    putField(subject);
    put(L'\t');
    putField(text);
    return {buffer.data(), used};
}

std::wstring EventText(EventKind kind, std::wstring_view subject, std::wstring_view text) {
    wchar_t buffer[kMostEventCharacters];
    return std::wstring(WriteEventText(buffer, kind, subject, text));
}
