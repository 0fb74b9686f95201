// Any bytes either are refused or give a document that is written and read back as the same document, byte for byte.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "support/XmlFormat.h"

namespace {

bool Equal(const XML_NODE& left, const XML_NODE& right) {
    if (left.level != right.level || left.name != right.name || left.attributes != right.attributes) return false;
    if (left.originals != right.originals) return false;
    if (left.children.size() != right.children.size()) return false;
    for (std::size_t i = 0; i < left.children.size(); ++i) {
        if (!Equal(left.children[i], right.children[i])) return false;
    }
    return true;
}

void Require(bool condition) {
    if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CBKXmlFormat document;
    const XML_NODE* root = document.Parse({static_cast<const char*>(static_cast<const void*>(data)), size});
    Require((root != nullptr) == (document.Status() == XmlStatus::Ok));
    if (root == nullptr) return 0;

    const std::string text = document.Write();
    CBKXmlFormat again;
    const XML_NODE* readBack = again.Parse(text);
    Require(readBack != nullptr && Equal(*root, *readBack));
    Require(again.Write() == text);
    return 0;
}
