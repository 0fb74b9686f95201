#include <windows.h>

#include <climits>

#include "common/CodePage.h"

namespace {

// The system's conversions count in int; texts beyond that are cut.
int CheckedLength(std::size_t length) {
    return length > INT_MAX / 4 ? INT_MAX / 4 : static_cast<int>(length);
}

std::string ToBytes(UINT codePage, std::wstring_view text) {
    if (text.empty()) return {};
    const int length = CheckedLength(text.size());
    const int needed = WideCharToMultiByte(codePage, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(needed), '\0');
    WideCharToMultiByte(codePage, 0, text.data(), length, bytes.data(), needed, nullptr, nullptr);
    return bytes;
}

std::wstring ToWide(UINT codePage, std::string_view bytes) {
    if (bytes.empty()) return {};
    const int length = CheckedLength(bytes.size());
    const int needed = MultiByteToWideChar(codePage, 0, bytes.data(), length, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(needed), L'\0');
    MultiByteToWideChar(codePage, 0, bytes.data(), length, wide.data(), needed);
    return wide;
}

// Bytes of the first character of narrow text that is not empty.
std::size_t CharacterBytes(std::string_view text) {
    const auto first = static_cast<BYTE>(text.front());
    std::size_t bytes = 1;
    if (GetACP() == CP_UTF8) {
        bytes = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC0 ? 2 : 1;
    } else if (IsDBCSLeadByte(first)) {
        bytes = 2;
    }
    return bytes < text.size() ? bytes : text.size();
}

// The characters from the start whose bytes fit into the limit, none of them halved.
std::string CutBytes(std::string bytes, std::size_t limit) {
    std::size_t kept = 0;
    while (kept < bytes.size()) {
        const std::size_t next = CharacterBytes(std::string_view(bytes).substr(kept));
        if (kept + next > limit) break;
        kept += next;
    }
    bytes.resize(kept);
    return bytes;
}

}  // namespace

std::string WideToNarrow(std::wstring_view text) {
    std::string bytes = ToBytes(CP_ACP, text);
    return bytes.size() <= text.size() ? bytes : CutBytes(std::move(bytes), text.size());
}

std::wstring NarrowToWide(std::string_view text) {
    return ToWide(CP_ACP, text);
}

bool NarrowToField(std::string_view text, std::span<wchar_t> field) noexcept {
    if (field.empty()) return text.empty();
    const int room = CheckedLength(field.size() - 1);
    int length = 0;
    const auto append = [&](std::string_view part) {
        const int bytes = CheckedLength(part.size());
        return MultiByteToWideChar(CP_ACP, 0, part.data(), bytes, field.data() + length, room - length);
    };
    bool whole = text.empty();
    if (!whole && room > 0) {
        length = append(text);
        whole = length > 0;
    }
    while (!whole && length < room) {
        const std::size_t bytes = CharacterBytes(text);
        const int added = append(text.substr(0, bytes));
        if (added == 0) break;
        length += added;
        text.remove_prefix(bytes);
    }
    field[static_cast<std::size_t>(length)] = L'\0';
    return whole;
}

std::string Utf8ToNarrow(std::string_view utf8, bool* lossy) {
    const std::wstring wide = ToWide(CP_UTF8, utf8);
    std::string narrow = ToBytes(CP_ACP, wide);
    // Also catches the characters for which the system takes a similar one.
    if (lossy != nullptr && ToWide(CP_ACP, narrow) != wide) *lossy = true;
    return narrow;
}

std::string NarrowToUtf8(std::string_view text) {
    return ToBytes(CP_UTF8, ToWide(CP_ACP, text));
}

std::string CodePageToUtf8(unsigned codePage, std::string_view text) {
    return ToBytes(CP_UTF8, ToWide(IsValidCodePage(codePage) ? codePage : CP_ACP, text));
}

std::string WideToUtf8(std::wstring_view text) {
    return ToBytes(CP_UTF8, text);
}

std::wstring Utf8ToWide(std::string_view text) {
    return ToWide(CP_UTF8, text);
}
