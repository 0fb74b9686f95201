#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>
#include "support/XmlNode.h"

// Reading and building of element trees. Any thread; no state.

// The first attribute of that exact name, or null. Valid until the element's attributes change.
const std::string* FindAttribute(const XML_NODE& element, std::string_view name);

// Replaces the value of the attribute, or appends it.
void SetAttribute(XML_NODE& element, std::string_view name, std::string_view value);
void SetAttribute(XML_NODE& element, std::string_view name, std::int32_t value);   // "%d"
void SetAttribute(XML_NODE& element, std::string_view name, std::uint32_t value);  // "%I64d"
void SetAttribute(XML_NODE& element, std::string_view name, std::uint64_t value);  // "%I64u"

// The same in UTF-8, for a text that the program takes as it stands in the document, whatever the code page can hold.
std::optional<std::string> FindUtf8Attribute(const XML_NODE& element, std::string_view name);
void SetUtf8Attribute(XML_NODE& element, std::string_view name, std::string_view utf8);
// The value in UTF-8 of an attribute that the code page cannot hold, or null. Valid until the element's attributes change.
const std::string* FindOriginal(const XML_NODE& element, std::string_view name);

// Appends an empty child of the next level and returns it.
XML_NODE& AddChild(XML_NODE& element, std::string_view name);

// The first direct child of that exact name, or null.
const XML_NODE* FindChild(const XML_NODE& element, std::string_view name);
// Every direct child of that exact name, in document order.
std::vector<const XML_NODE*> CollectChildren(const XML_NODE& element, std::string_view name);

// The C runtime's conversions of an attribute value: garbage reads as 0, over-large values saturate.
std::int32_t ParseInt32(const std::string& text);    // atoi
std::uint32_t ParseUInt32(const std::string& text);  // strtoul, base 10
std::int64_t ParseInt64(const std::string& text);    // _atoi64
