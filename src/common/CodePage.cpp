#include "common/CodePage.h"

#include <algorithm>

namespace {

template <typename Char>
bool Copy(std::basic_string_view<Char> text, std::span<Char> field) noexcept {
    if (field.empty()) return text.empty();
    const std::size_t length = std::min(text.size(), field.size() - 1);
    std::copy_n(text.begin(), length, field.begin());
    field[length] = Char{};
    return length == text.size();
}

}  // namespace

bool CopyToField(std::wstring_view text, std::span<wchar_t> field) noexcept {
    return Copy(text, field);
}

bool CopyToField(std::string_view text, std::span<char> field) noexcept {
    return Copy(text, field);
}
