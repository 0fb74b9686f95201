#pragma once
#include <string>
#include "support/XmlFormat.h"

// An XML file of the user's that is not replaced while a copy of it is still owed. Windows only; one thread at a time.
// Errors are Windows error codes.
class CKeptXmlFile {
  public:
    explicit CKeptXmlFile(std::wstring path) : m_path(std::move(path)) {}

    // As LoadFile. Forgets a copy that was owed.
    const XML_NODE* Load(CBKXmlFormat& document);
    // Copies the file to path + suffix (a literal); a copy that fails is owed.
    unsigned long Keep(const wchar_t* suffix);
    // Makes up for a copy that is owed, then replaces the file unless it holds the very same bytes.
    unsigned long Save(const CBKXmlFormat& document);

  private:
    const std::wstring m_path;
    const wchar_t* m_owedSuffix = nullptr;
};
