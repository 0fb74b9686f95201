#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include "support/FileReplace.h"
#include "support/XmlNode.h"

// Why a document has no root, or was not saved. 0 is success.
enum class XmlStatus : std::uint32_t {
    Ok = 0,
    Missing = 1,     // no such file
    Malformed = 2,   // not well-formed XML, or beyond the limits of XmlScan.h
    Unreadable = 3,  // exists, but cannot be opened or read
    WriteFailed = 4,
    NoRoot = 5,
};

// One XML document: a tree written to a UTF-8 file (with declaration, indented by two spaces), or read from one, or from a
// file in another encoding (see XmlEncoding.h). Only elements and attributes are kept: text, comments and processing
// instructions of a file are not, nor are control characters of a value other than tab and line ends. One document per load
// or save, used by one thread.
class CBKXmlFormat {
  public:
    CBKXmlFormat();
    ~CBKXmlFormat();
    CBKXmlFormat(const CBKXmlFormat&) = delete;
    CBKXmlFormat& operator=(const CBKXmlFormat&) = delete;

    // The root, owned by this object; null when the file is missing or cannot be parsed (see Status).
    XML_NODE* LoadFile(const wchar_t* path, Patience patience = Patience::OneSecond);
    XML_NODE* AddRootNode(const char* name);
    // Replaces the file atomically; a file that already holds the very same bytes is not touched. 0 on success.
    std::uint32_t SaveFile(const wchar_t* path);

    // The same, from and to memory. Portable.
    XML_NODE* Parse(std::string_view bytes);
    std::string Write() const;

    XmlStatus Status() const { return m_status; }
    // True when characters of the file were lost: the ANSI code page lacks them, or they are none, and no original keeps
    // them.
    bool LostCharacters() const { return m_lostCharacters; }
    // True when the file holds text or comments, which are not kept.
    bool LostText() const { return m_lostText; }
    // Of the file, when it could not be read; a Windows error code.
    unsigned long ReadError() const { return m_readError; }

  private:
    std::unique_ptr<XML_NODE> m_root;
    XmlStatus m_status = XmlStatus::Ok;
    bool m_lostCharacters = false;
    bool m_lostText = false;
    unsigned long m_readError = 0;
};
