// Narrow text as Latin-1, where a byte is the character of the same number.
#include "common/CodePage.h"
#include "common/Utf8.h"

namespace {

constexpr char kReplacement = '?';

}  // namespace

std::string WideToNarrow(std::wstring_view text) {
    std::string narrow;
    narrow.reserve(text.size());
    for (const wchar_t c : text) {
        const auto code = static_cast<char32_t>(c);
        narrow.push_back(code < 0x100 ? static_cast<char>(static_cast<unsigned char>(code)) : kReplacement);
    }
    return narrow;
}

std::wstring NarrowToWide(std::string_view text) {
    std::wstring wide;
    wide.reserve(text.size());
    for (const char c : text)
        wide.push_back(static_cast<wchar_t>(static_cast<unsigned char>(c)));
    return wide;
}

bool NarrowToField(std::string_view text, std::span<wchar_t> field) noexcept {
    if (field.empty()) return text.empty();
    std::size_t length = 0;
    for (; length < text.size() && length + 1 < field.size(); ++length) {
        field[length] = static_cast<wchar_t>(static_cast<unsigned char>(text[length]));
    }
    field[length] = L'\0';
    return length == text.size();
}

std::string Utf8ToNarrow(std::string_view utf8, bool* lossy) {
    std::string narrow;
    narrow.reserve(utf8.size());
    while (!utf8.empty()) {
        const std::optional<char32_t> code = TakeUtf8(utf8);
        const bool fits = code && *code < 0x100;
        if (!fits && lossy != nullptr) *lossy = true;
        narrow.push_back(fits ? static_cast<char>(static_cast<unsigned char>(*code)) : kReplacement);
    }
    return narrow;
}

std::string NarrowToUtf8(std::string_view text) {
    std::string utf8;
    utf8.reserve(text.size());
    for (const char c : text)
        AppendUtf8(utf8, static_cast<unsigned char>(c));
    return utf8;
}

std::string CodePageToUtf8(unsigned, std::string_view text) {
    return NarrowToUtf8(text);
}

std::string WideToUtf8(std::wstring_view text) {
    std::string utf8;
    utf8.reserve(text.size());
    for (const wchar_t c : text)
        AppendUtf8(utf8, static_cast<char32_t>(c));
    return utf8;
}
