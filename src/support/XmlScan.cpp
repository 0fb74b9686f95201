#include "support/XmlScan.h"

#include <array>

#include "common/Utf8.h"

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

constexpr bool IsNameStart(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == ':' || static_cast<unsigned char>(c) >= 0x80;
}

constexpr bool IsNameCharacter(char c) {
    return IsNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

class CScanner {
  public:
    explicit CScanner(std::string_view text) : m_rest(text) {}

    bool Run() {
        while (!m_rest.empty()) {
            if (!SkipText() || (!m_rest.empty() && !Markup())) return false;
        }
        return m_depth == 0 && m_hasRoot;
    }

  private:
    // Up to the next '<'. Outside the root only blanks may stand.
    bool SkipText() {
        const std::size_t length = m_depth > 0 ? m_rest.find('<') : m_rest.find_first_not_of(kBlanks);
        m_rest.remove_prefix(length == std::string_view::npos ? m_rest.size() : length);
        return m_rest.empty() || m_rest.front() == '<';
    }

    bool Markup() {
        if (Take("<!--")) return SkipPast("-->");
        if (m_depth > 0 && Take("<![CDATA[")) return SkipPast("]]>");
        if (Take("<?")) return SkipPast("?>");
        if (Take("</")) return EndTag();
        m_rest.remove_prefix(1);
        return StartTag();
    }

    bool EndTag() {
        if (m_depth == 0 || Name() != m_open[m_depth - 1]) return false;
        --m_depth;
        SkipBlanks();
        return Take(">");
    }

    bool StartTag() {
        const std::string_view name = Name();
        if (name.empty() || (m_depth == 0 && m_hasRoot) || m_depth == kXmlMaxDepth) return false;
        m_hasRoot = true;
        SkipBlanks();
        while (!m_rest.empty() && IsNameStart(m_rest.front())) {
            if (!Attribute()) return false;
        }
        if (++m_parts > kXmlMaxParts) return false;
        if (Take("/>")) return true;
        m_open[m_depth++] = name;
        return Take(">");
    }

    bool Attribute() {
        Name();
        SkipBlanks();
        if (!Take("=")) return false;
        SkipBlanks();
        const char* quote = Take("\"") ? "\"" : Take("'") ? "'" : nullptr;
        if (quote == nullptr || !SkipPast(quote)) return false;
        SkipBlanks();
        return ++m_parts <= kXmlMaxParts;
    }

    std::string_view Name() {
        std::size_t length = 0;
        if (!m_rest.empty() && IsNameStart(m_rest.front())) {
            while (length < m_rest.size() && IsNameCharacter(m_rest[length]))
                ++length;
        }
        const std::string_view name = m_rest.substr(0, length);
        m_rest.remove_prefix(length);
        return name;
    }

    void SkipBlanks() {
        const std::size_t length = m_rest.find_first_not_of(kBlanks);
        m_rest.remove_prefix(length == std::string_view::npos ? m_rest.size() : length);
    }

    bool Take(std::string_view token) {
        if (!m_rest.starts_with(token)) return false;
        m_rest.remove_prefix(token.size());
        return true;
    }

    bool SkipPast(std::string_view token) {
        const std::size_t at = m_rest.find(token);
        if (at == std::string_view::npos) return false;
        m_rest.remove_prefix(at + token.size());
        return true;
    }

    std::string_view m_rest;
    std::array<std::string_view, kXmlMaxDepth> m_open{};
    std::size_t m_depth = 0;
    std::size_t m_parts = 0;
    bool m_hasRoot = false;
};

}  // namespace

bool IsAcceptableXml(std::string_view text) noexcept {
    if (text.size() > kXmlMaxBytes || text.find('\0') != std::string_view::npos || !IsValidUtf8(text)) return false;
    return CScanner(text).Run();
}
