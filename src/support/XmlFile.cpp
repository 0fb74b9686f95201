#include <windows.h>

#include "support/XmlFormat.h"

XML_NODE* CBKXmlFormat::LoadFile(const wchar_t* path, Patience patience) {
    std::string bytes;
    const unsigned long error = ReadFileContents(path, bytes, patience);
    if (error == ERROR_SUCCESS) return Parse(bytes);
    Parse({});
    m_readError = error;
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) {
        m_status = XmlStatus::Missing;
    } else {
        m_status = error == ERROR_FILE_TOO_LARGE ? XmlStatus::Malformed : XmlStatus::Unreadable;
    }
    return nullptr;
}

std::uint32_t CBKXmlFormat::SaveFile(const wchar_t* path) {
    if (m_root == nullptr) {
        m_status = XmlStatus::NoRoot;
    } else {
        m_status = ReplaceFileContents(path, Write()) == ERROR_SUCCESS ? XmlStatus::Ok : XmlStatus::WriteFailed;
    }
    return static_cast<std::uint32_t>(m_status);
}
