#include "common/CodePage.h"
#include "support/XmlAttributes.h"
#include "support/XmlFormat.h"

namespace {

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
constexpr std::size_t kIndent = 2;

// Line breaks and tabs are written as references: a reader turns bare ones into blanks. Other control characters cannot
// stand in XML 1.0 and are dropped.
void AppendEscaped(std::string& out, std::string_view utf8) {
    for (const char c : utf8) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            case '\t':
                out += "&#9;";
                break;
            case '\n':
                out += "&#10;";
                break;
            case '\r':
                out += "&#13;";
                break;
            default:
                if (static_cast<unsigned char>(c) >= ' ') out.push_back(c);
        }
    }
}

void AppendElement(std::string& out, const XML_NODE& node, std::size_t depth) {
    const std::string name = NarrowToUtf8(node.name);
    out.append(kIndent * depth, ' ').append("<").append(name);
    for (const auto& [attribute, value] : node.attributes) {
        out.append(" ").append(NarrowToUtf8(attribute)).append("=\"");
        const bool isFirst = FindAttribute(node, attribute) == &value;
        const std::string* const original = isFirst ? FindOriginal(node, attribute) : nullptr;
        AppendEscaped(out, original != nullptr ? *original : NarrowToUtf8(value));
        out.append("\"");
    }
    if (node.children.empty()) {
        out.append("/>\n");
        return;
    }
    out.append(">\n");
    for (const XML_NODE& child : node.children)
        AppendElement(out, child, depth + 1);
    out.append(kIndent * depth, ' ').append("</").append(name).append(">\n");
}

}  // namespace

std::string CBKXmlFormat::Write() const {
    if (m_root == nullptr) return {};
    std::string text(kDeclaration);
    AppendElement(text, *m_root, 0);
    return text;
}
