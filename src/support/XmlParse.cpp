#include "support/XmlParse.h"

#include <algorithm>
#include <array>
#include <boost/property_tree/xml_parser.hpp>
#include <istream>
#include <streambuf>

#include "common/CodePage.h"
#include "common/Utf8.h"
#include "support/XmlAttributes.h"
#include "support/XmlEncoding.h"
#include "support/XmlFormat.h"

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

namespace {

using Tree = boost::property_tree::ptree;

// Reads the caller's bytes in place.
class CViewBuffer final : public std::streambuf {
  public:
    explicit CViewBuffer(std::string_view bytes) {
        char* begin = const_cast<char*>(bytes.data());  // a get area is never written
        setg(begin, begin, begin + bytes.size());
    }
};

class CTreeReader {
  public:
    XML_NODE Element(const std::string& name, const Tree& source, std::int32_t level) {
        XML_NODE node{level, Name(name), {}, {}};
        if (source.data().find_first_not_of(" \t\r\n") != std::string::npos) m_lostText = true;
        for (const auto& [key, child] : source) {
            if (key == "<xmlattr>") {
                for (const auto& [attribute, value] : child) {
                    AddAttribute(node, Name(attribute), value.data());
                }
            } else {
                node.children.push_back(Element(key, child, level + 1));
            }
        }
        return node;
    }

    bool LostCharacters() const { return m_lostCharacters; }
    bool LostText() const { return m_lostText; }

  private:
    std::string Name(const std::string& utf8) {
        std::string name = Utf8ToNarrow(utf8, &m_lostCharacters);
        std::replace(name.begin(), name.end(), '?', '_');  // what stands for a lost character is none of a name's
        return name;
    }

    // Control characters and halves of surrogate pairs can come only from character references that XML 1.0 forbids; the
    // first are dropped.
    void AddAttribute(XML_NODE& node, std::string name, std::string utf8) {
        std::erase_if(utf8,
                      [](char c) { return static_cast<unsigned char>(c) < ' ' && c != '\t' && c != '\n' && c != '\r'; });
        bool isLost = false;
        const bool isFirst = FindAttribute(node, name) == nullptr;
        node.attributes.emplace_back(std::move(name), Utf8ToNarrow(utf8, &isLost));
        if (!isLost) return;
        if (isFirst && IsValidUtf8(utf8)) {
            node.originals.emplace_back(node.attributes.back().first, std::move(utf8));
        } else {
            m_lostCharacters = true;
        }
    }

    bool m_lostCharacters = false;
    bool m_lostText = false;
};

}  // namespace

CBKXmlFormat::CBKXmlFormat() = default;
CBKXmlFormat::~CBKXmlFormat() = default;

XML_NODE* CBKXmlFormat::Parse(std::string_view bytes) {
    m_root.reset();
    m_lostCharacters = false;
    m_lostText = false;
    m_readError = 0;
    m_status = XmlStatus::Malformed;
    const std::string utf8 = XmlTextToUtf8(bytes);
    if (!IsAcceptableXml(utf8)) return nullptr;

    Tree tree;
    CViewBuffer buffer(utf8);
    std::istream stream(&buffer);
    try {
        read_xml(stream, tree, boost::property_tree::xml_parser::no_comments);
    } catch (const boost::property_tree::ptree_error&) {
        return nullptr;
    }
    if (tree.empty()) return nullptr;
    CTreeReader reader;
    m_root = std::make_unique<XML_NODE>(reader.Element(tree.front().first, tree.front().second, 0));
    m_lostCharacters = reader.LostCharacters();
    m_lostText = reader.LostText() || utf8.find("<!--") != std::string::npos;
    m_status = XmlStatus::Ok;
    return m_root.get();
}

XML_NODE* CBKXmlFormat::AddRootNode(const char* name) {
    m_root = std::make_unique<XML_NODE>(XML_NODE{0, name, {}, {}});
    m_status = XmlStatus::Ok;
    m_lostCharacters = false;
    m_lostText = false;
    return m_root.get();
}
