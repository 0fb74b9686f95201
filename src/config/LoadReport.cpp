#include "config/LoadReport.h"

#include <algorithm>
#include <charconv>

#include "common/CodePage.h"
#include "support/XmlAttributes.h"

namespace {

constexpr std::size_t kNamed = 12;      // a log line, not a second copy of the file
constexpr std::size_t kShownName = 32;  // characters of what the file holds

std::wstring Shown(std::string_view text) {
    std::wstring shown = NarrowToWide(text.substr(0, kShownName));
    std::ranges::replace_if(
        shown, [](wchar_t c) { return c < L' '; }, L' ');
    return text.size() > kShownName ? shown.append(L"...") : shown;
}

std::string_view WithoutBlanks(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t start = std::min(text.find_first_not_of(kBlanks), text.size());
    text.remove_prefix(start);
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

bool IsNumber(std::string_view text, std::int64_t least, std::int64_t most) {
    text = WithoutBlanks(text);
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() && value >= least && value <= most;
}

bool IsOneOf(std::span<const std::string_view> known, std::string_view name) {
    return std::ranges::find(known, name) != known.end();
}

}  // namespace

void CLoadReport::Dropped(const std::wstring& what) {
    if (m_count++ >= kNamed) return;
    if (!m_named.empty()) m_named.append(L"; ");
    m_named.append(what);
}

std::wstring CLoadReport::Text() const {
    if (m_count == 0) return {};
    std::wstring text = std::wstring(L"not understood: ").append(m_named);
    if (m_count > kNamed) text.append(L"; ").append(std::to_wstring(m_count - kNamed)).append(L" more");
    return text;
}

void CLoadReport::CheckNames(const XML_NODE& element, std::span<const std::string_view> attributes,
                             std::span<const std::string_view> children, std::wstring_view owner) {
    const auto drop = [&](const wchar_t* kind, std::string_view name) {
        Dropped(std::wstring(kind).append(Shown(name)).append(L" of ").append(owner));
    };
    for (const auto& attribute : element.attributes) {
        if (!IsOneOf(attributes, attribute.first)) {
            drop(L"the attribute ", attribute.first);
        } else if (FindAttribute(element, attribute.first) != &attribute.second) {
            drop(L"the second ", attribute.first);
        }
    }
    for (const XML_NODE& child : element.children) {
        if (!IsOneOf(children, child.name)) drop(L"the element ", child.name);
    }
}

void CLoadReport::CheckNumber(const XML_NODE& element, std::string_view name, std::int64_t least, std::int64_t most,
                              std::wstring_view owner) {
    const std::string* const text = FindAttribute(element, name);
    if (text == nullptr || IsNumber(*text, least, most)) return;
    std::wstring what = NarrowToWide(name);
    Dropped(what.append(L"=\"").append(Shown(*text)).append(L"\" of ").append(owner));
}
