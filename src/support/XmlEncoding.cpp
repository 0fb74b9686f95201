#include "support/XmlEncoding.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "common/CodePage.h"
#include "common/Utf8.h"

namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16LittleMark = "\xFF\xFE";
constexpr std::string_view kUtf16BigMark = "\xFE\xFF";

// Half a pair of surrogates becomes U+FFFD; half a unit at the end is dropped.
std::string Utf16ToUtf8(std::string_view bytes, bool littleEndian) {
    const auto unit = [&](std::size_t index) {
        const auto first = static_cast<unsigned char>(bytes[index * 2]),
                   second = static_cast<unsigned char>(bytes[index * 2 + 1]);
        return static_cast<char32_t>(littleEndian ? second << 8 | first : first << 8 | second);
    };
    std::string utf8;
    const std::size_t count = bytes.size() / 2;
    for (std::size_t i = 0; i < count; ++i) {
        char32_t code = unit(i);
        const bool isPair =
            code >= 0xD800 && code < 0xDC00 && i + 1 < count && unit(i + 1) >= 0xDC00 && unit(i + 1) < 0xE000;
        if (isPair) code = 0x10000 + ((code - 0xD800) << 10) + (unit(++i) - 0xDC00);
        AppendUtf8(utf8, code >= 0xD800 && code < 0xE000 ? U'\uFFFD' : code);
    }
    return utf8;
}

std::string_view DeclaredEncoding(std::string_view text) {
    constexpr std::string_view kStart = "<?xml", kName = "encoding";
    if (!text.starts_with(kStart)) return {};
    text = text.substr(0, text.find("?>"));
    const std::size_t name = text.find(kName);
    if (name == std::string_view::npos) return {};
    const std::size_t quote = text.find_first_of("\"'", name);
    if (quote == std::string_view::npos) return {};
    text.remove_prefix(quote + 1);
    return text.substr(0, text.find_first_of("\"'"));
}

// Of an encoding of one byte per character; nothing: it is none of those.
std::optional<unsigned> DeclaredCodePage(std::string_view text) {
    constexpr unsigned kWindows = 1250, kLastWindows = 1258, kIso = 28590, kLastIso = 15;
    std::string name(DeclaredEncoding(text));
    std::ranges::transform(name, name.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    const auto number = [&](std::string_view prefix) -> unsigned {
        unsigned value = 0;
        if (!name.starts_with(prefix)) return 0;
        const auto end = name.data() + name.size();
        return std::from_chars(name.data() + prefix.size(), end, value).ptr == end ? value : 0;
    };
    for (const std::string_view prefix : {"windows-", "cp"}) {
        if (const unsigned page = number(prefix); page >= kWindows && page <= kLastWindows) return page;
    }
    if (const unsigned part = number("iso-8859-"); part >= 1 && part <= kLastIso) return kIso + part;
    return std::nullopt;
}

}  // namespace

std::string XmlTextToUtf8(std::string_view bytes) {
    if (bytes.starts_with(kUtf16LittleMark)) return Utf16ToUtf8(bytes.substr(2), true);
    if (bytes.starts_with(kUtf16BigMark)) return Utf16ToUtf8(bytes.substr(2), false);
    const bool isMarked = bytes.starts_with(kUtf8Mark);
    if (isMarked) bytes.remove_prefix(kUtf8Mark.size());
    if (!isMarked) {
        if (const auto page = DeclaredCodePage(bytes)) return CodePageToUtf8(*page, bytes);
    }
    return IsValidUtf8(bytes) ? std::string(bytes) : NarrowToUtf8(bytes);
}
