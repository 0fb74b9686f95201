#pragma once
#include <cstddef>
#include <string_view>

inline constexpr std::size_t kXmlMaxBytes = std::size_t{64} << 20;
inline constexpr std::size_t kXmlMaxDepth = 64;
inline constexpr std::size_t kXmlMaxParts = 250'000;  // elements and attributes together

// Whether a text may be handed to the XML parser, which recurses per level and checks neither names nor end tags: one
// element with nothing but white space, comments and processing instructions around it, every tag closed by its own name,
// and within the limits above. A document type, a name outside [A-Za-z_:][A-Za-z0-9_:.-]* or bytes above 7F, a zero byte and
// malformed UTF-8 are refused. Linear in the text, constant stack. Entities are left to the parser.
bool IsAcceptableXml(std::string_view text) noexcept;
