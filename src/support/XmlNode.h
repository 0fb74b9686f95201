#pragma once
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// One element of a document tree; narrow text in the ANSI code page. Owned by its parent, the root by its document.
// A reference into children is invalidated when a child is appended to that same list.
struct XML_NODE {
    std::int32_t level = 0;
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes;  // document order; names need not be unique
    std::vector<XML_NODE> children;                               // document order
    // In UTF-8, by the attribute's name (the first of that name): values that the code page cannot hold. They are written in
    // place of what became of them there.
    std::vector<std::pair<std::string, std::string>> originals = {};
};
