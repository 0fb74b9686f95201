#pragma once
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include "support/XmlNode.h"

// What of a file was not understood or did not make it into memory. One load, one thread.
class CLoadReport {
  public:
    void Dropped(const std::wstring& what);
    bool IsEmpty() const { return m_count == 0; }
    // The first few of them, separated by semicolons, and how many more there are.
    std::wstring Text() const;

    // Names the attributes and children of the element that are none of these, and attributes that are there twice, of which
    // the first counts. owner: the element, for the user.
    void CheckNames(const XML_NODE& element, std::span<const std::string_view> attributes,
                    std::span<const std::string_view> children, std::wstring_view owner);
    void CheckNames(const XML_NODE& element, std::initializer_list<std::string_view> attributes,
                    std::initializer_list<std::string_view> children, std::wstring_view owner) {
        CheckNames(element, std::span(attributes.begin(), attributes.size()), std::span(children.begin(), children.size()),
                   owner);
    }
    // Names the attribute when it is there and is no whole number within the limits.
    void CheckNumber(const XML_NODE& element, std::string_view name, std::int64_t least, std::int64_t most,
                     std::wstring_view owner);

  private:
    std::wstring m_named;
    std::size_t m_count = 0;
};
