#include "config/KeptXmlFile.h"

#include "support/FileReplace.h"

namespace {

constexpr wchar_t kNotUnderstood[] = L".bak";
constexpr wchar_t kMalformed[] = L".bad";

}  // namespace

FileLoad CKeptXmlFile::Load(const std::function<void(const XML_NODE& root, CLoadReport& report)>& read, Patience patience) {
    RemoveTemporaries(m_path.c_str());
    m_owedSuffix = nullptr;
    CBKXmlFormat document;
    CLoadReport report;
    const std::wstring name = m_path.substr(m_path.find_last_of(L"\\/") + 1);
    if (const XML_NODE* root = document.LoadFile(m_path.c_str(), patience)) {
        read(*root, report);
        if (document.LostCharacters()) report.Dropped(L"characters that cannot be kept");
        if (document.LostText()) report.Dropped(L"comments or text between the elements");
    }
    switch (document.Status()) {
        case XmlStatus::Malformed:
            return {XmlStatus::Malformed, name + L" cannot be parsed" + Keep(kMalformed)};
        case XmlStatus::Unreadable:
            m_owedSuffix = kNotUnderstood;  // should something else be saved before the file can be read
            return {XmlStatus::Unreadable,
                    name + L" cannot be read: " + FileErrorText(document.ReadError()) + L"; trying again"};
        default:
            if (report.IsEmpty()) return {document.Status(), {}};
            return {document.Status(), name + L": " + report.Text() + Keep(kNotUnderstood)};
    }
}

std::wstring CKeptXmlFile::Save(const CBKXmlFormat& document, Patience patience) {
    if (m_owedSuffix != nullptr) {
        const std::wstring kept = Keep(m_owedSuffix);
        if (m_owedSuffix != nullptr) return m_path + L" is not saved" + kept;
    }
    const unsigned long error = ReplaceFileContents(m_path.c_str(), document.Write(), patience);
    return error == 0 ? std::wstring() : m_path + L" could not be saved: " + FileErrorText(error);
}

// How it went, as the end of a message.
std::wstring CKeptXmlFile::Keep(const wchar_t* suffix) {
    const KeptCopy copy = KeepCopy(m_path, suffix);
    m_owedSuffix = copy.error == 0 ? nullptr : suffix;
    if (copy.error != 0)
        return L"; the file as found stays until it can be copied to " + copy.name + L": " + FileErrorText(copy.error);
    return copy.name.empty() ? std::wstring() : L"; the file as found is kept as " + copy.name;
}
