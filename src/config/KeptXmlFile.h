#pragma once
#include <functional>
#include <string>
#include "config/LoadReport.h"
#include "support/XmlFormat.h"

struct FileLoad {
    XmlStatus status = XmlStatus::Missing;
    std::wstring
        message;  // what could not be read or was not understood, and where the copy is, for the user; empty: nothing
};

// An XML file of the user's that is never lost: whatever of it is not understood is told, and the file as found is kept
// beside it before anything replaces it. Windows only; one thread at a time.
class CKeptXmlFile {
  public:
    explicit CKeptXmlFile(std::wstring path) : m_path(std::move(path)) {}

    // Hands the root, if there is one, to read, which says what it could not take over.
    FileLoad Load(const std::function<void(const XML_NODE& root, CLoadReport& report)>& read, Patience patience);
    // Makes up for a copy that is owed, then replaces the file unless it holds the very same bytes. Why that failed, with
    // the path, for the user; empty: it is saved.
    std::wstring Save(const CBKXmlFormat& document, Patience patience);

  private:
    std::wstring Keep(const wchar_t* suffix);

    const std::wstring m_path;
    const wchar_t* m_owedSuffix = nullptr;  // of the copy that must be made before the file is replaced
};
