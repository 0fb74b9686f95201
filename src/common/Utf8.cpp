#include "common/Utf8.h"

#include <cstddef>
#include <cstdint>

namespace {

struct Form {
    std::uint8_t mask;    // of the first byte's marker bits
    std::uint8_t marker;  // their value
    std::size_t length;   // bytes in all
    char32_t firstCode;   // the smallest that needs this length
};

constexpr Form kForms[] = {{0x80, 0x00, 1, 0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};

std::optional<char32_t> Decode(std::string_view text, const Form& form) {
    if (text.size() < form.length) return std::nullopt;
    auto code = static_cast<char32_t>(static_cast<std::uint8_t>(text[0]) & ~form.mask & 0xFF);
    for (const char c : text.substr(1, form.length - 1)) {
        const auto byte = static_cast<std::uint8_t>(c);
        if ((byte & 0xC0) != 0x80) return std::nullopt;
        code = code << 6 | (byte & 0x3F);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < form.firstCode || code > 0x10FFFF || surrogate) return std::nullopt;
    return code;
}

}  // namespace

std::optional<char32_t> TakeUtf8(std::string_view& text) noexcept {
    const auto first = static_cast<std::uint8_t>(text.front());
    for (const Form& form : kForms) {
        if ((first & form.mask) != form.marker) continue;
        const std::optional<char32_t> code = Decode(text, form);
        text.remove_prefix(code ? form.length : 1);
        return code;
    }
    text.remove_prefix(1);
    return std::nullopt;
}

bool IsValidUtf8(std::string_view text) noexcept {
    while (!text.empty()) {
        if (!TakeUtf8(text)) return false;
    }
    return true;
}

void AppendUtf8(std::string& out, char32_t code) {
    const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(static_cast<unsigned char>(byte))); };
    const auto follow = [&put, code](unsigned shift) { put(0x80 | (code >> shift & 0x3F)); };
    if (code < 0x80) {
        put(code);
    } else if (code < 0x800) {
        put(0xC0 | code >> 6);
        follow(0);
    } else if (code < 0x10000) {
        put(0xE0 | code >> 12);
        follow(6);
        follow(0);
    } else {
        put(0xF0 | code >> 18);
        follow(12);
        follow(6);
        follow(0);
    }
}
