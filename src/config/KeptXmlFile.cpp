#include "config/KeptXmlFile.h"

#include <windows.h>

#include "support/FileReplace.h"

const XML_NODE* CKeptXmlFile::Load(CBKXmlFormat& document) {
    m_owedSuffix = nullptr;
    return document.LoadFile(m_path.c_str());
}

unsigned long CKeptXmlFile::Keep(const wchar_t* suffix) {
    const unsigned long error = KeepCopy(m_path.c_str(), suffix);
    const bool gone = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
    m_owedSuffix = error == ERROR_SUCCESS || gone ? nullptr : suffix;
    return gone ? ERROR_SUCCESS : error;
}

unsigned long CKeptXmlFile::Save(const CBKXmlFormat& document) {
    if (m_owedSuffix != nullptr) {
        if (const unsigned long error = Keep(m_owedSuffix); error != ERROR_SUCCESS) return error;
    }
    return ReplaceFileContents(m_path.c_str(), document.Write());
}
