#include "support/XmlAttributes.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "common/CodePage.h"

namespace {

struct Decimal {
    bool negative = false;
    std::uint64_t magnitude = 0;  // saturates
};

Decimal ParseDecimal(std::string_view text) {
    const std::size_t start = text.find_first_not_of(" \t\n\v\f\r");
    if (start == std::string_view::npos) return {};
    text.remove_prefix(start);
    Decimal value;
    if (text.front() == '-' || text.front() == '+') {
        value.negative = text.front() == '-';
        text.remove_prefix(1);
    }
    constexpr std::uint64_t kMaximum = std::numeric_limits<std::uint64_t>::max();
    for (const char c : text) {
        if (c < '0' || c > '9') break;
        const auto digit = static_cast<std::uint64_t>(c - '0');
        const bool overflows = value.magnitude > (kMaximum - digit) / 10;
        value.magnitude = overflows ? kMaximum : value.magnitude * 10 + digit;
    }
    return value;
}

const std::string* FindText(const std::vector<std::pair<std::string, std::string>>& texts, std::string_view name) {
    const auto found = std::find_if(texts.begin(), texts.end(), [&](const auto& text) { return text.first == name; });
    return found != texts.end() ? &found->second : nullptr;
}

template <typename Signed>
Signed Clamp(const Decimal& value) {
    constexpr auto kMaximum = static_cast<std::uint64_t>(std::numeric_limits<Signed>::max());
    if (!value.negative) return static_cast<Signed>(std::min(value.magnitude, kMaximum));
    if (value.magnitude > kMaximum) return std::numeric_limits<Signed>::min();
    return static_cast<Signed>(-static_cast<Signed>(value.magnitude));
}

}  // namespace

const std::string* FindAttribute(const XML_NODE& element, std::string_view name) {
    return FindText(element.attributes, name);
}

const std::string* FindOriginal(const XML_NODE& element, std::string_view name) {
    return FindText(element.originals, name);
}

std::optional<std::string> FindUtf8Attribute(const XML_NODE& element, std::string_view name) {
    if (const std::string* const original = FindOriginal(element, name)) return *original;
    const std::string* const value = FindAttribute(element, name);
    return value != nullptr ? std::optional(NarrowToUtf8(*value)) : std::nullopt;
}

void SetUtf8Attribute(XML_NODE& element, std::string_view name, std::string_view utf8) {
    bool isLost = false;
    SetAttribute(element, name, std::string_view(Utf8ToNarrow(utf8, &isLost)));
    if (isLost) element.originals.emplace_back(name, utf8);
}

void SetAttribute(XML_NODE& element, std::string_view name, std::string_view value) {
    std::erase_if(element.originals, [&](const auto& original) { return original.first == name; });
    for (auto& [attribute, current] : element.attributes) {
        if (attribute == name) {
            current = value;
            return;
        }
    }
    element.attributes.emplace_back(name, value);
}

void SetAttribute(XML_NODE& element, std::string_view name, std::int32_t value) {
    SetAttribute(element, name, std::string_view(std::to_string(value)));
}

void SetAttribute(XML_NODE& element, std::string_view name, std::uint32_t value) {
    SetAttribute(element, name, std::string_view(std::to_string(value)));
}

void SetAttribute(XML_NODE& element, std::string_view name, std::uint64_t value) {
    SetAttribute(element, name, std::string_view(std::to_string(value)));
}

XML_NODE& AddChild(XML_NODE& element, std::string_view name) {
    return element.children.emplace_back(XML_NODE{element.level + 1, std::string(name), {}, {}});
}

const XML_NODE* FindChild(const XML_NODE& element, std::string_view name) {
    for (const XML_NODE& child : element.children) {
        if (child.name == name) return &child;
    }
    return nullptr;
}

std::vector<const XML_NODE*> CollectChildren(const XML_NODE& element, std::string_view name) {
    std::vector<const XML_NODE*> found;
    for (const XML_NODE& child : element.children) {
        if (child.name == name) found.push_back(&child);
    }
    return found;
}

std::int32_t ParseInt32(const std::string& text) {
    return Clamp<std::int32_t>(ParseDecimal(text));
}

std::int64_t ParseInt64(const std::string& text) {
    return Clamp<std::int64_t>(ParseDecimal(text));
}

// strtoul negates within the type: "-1" is the largest value.
std::uint32_t ParseUInt32(const std::string& text) {
    constexpr std::uint32_t kMaximum = std::numeric_limits<std::uint32_t>::max();
    const Decimal value = ParseDecimal(text);
    if (value.magnitude > kMaximum) return kMaximum;
    const auto magnitude = static_cast<std::uint32_t>(value.magnitude);
    return value.negative ? 0 - magnitude : magnitude;
}
