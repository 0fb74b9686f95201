#include "mining/AlgorithmEnumeration.h"

#include <windows.h>

#include <cstring>

#include "common/CodePage.h"
#include "mining/PlugInQuarantine.h"
#include "mining/PluginInstance.h"
#include "support/FileReplace.h"

namespace {

constexpr wchar_t kCrashedTwice[] = L"it took the program down twice in a row while it was being listed";

std::uint64_t Join(DWORD high, DWORD low) {
    return std::uint64_t{high} << 32 | low;
}

PlugInFile FileOf(const WIN32_FIND_DATAW& found) {
    return {WideToUtf8(found.cFileName), Join(found.nFileSizeHigh, found.nFileSizeLow),
            Join(found.ftLastWriteTime.dwHighDateTime, found.ftLastWriteTime.dwLowDateTime)};
}

class CListing {
  public:
    CListing(const std::wstring& stateFile, CEventLog& events, CAlgorithmList& algorithms)
        : m_stateFile(stateFile), m_events(events), m_algorithms(algorithms), m_quarantine(ReadState()) {}

    void List(const std::wstring& folder, const WIN32_FIND_DATAW& found) {
        const std::wstring name = found.cFileName;
        const PlugInFile file = FileOf(found);
        if (!m_quarantine.MayList(file)) return LeaveOut(name);
        m_quarantine.Begin(file);
        WriteState();
        Say(name, L"loading " + name);
        m_events.Flush();
        Read(folder + name, name);
        m_quarantine.End(file);
    }

    void WriteState() {
        const DWORD error = ReplaceFileContents(m_stateFile.c_str(), m_quarantine.State());
        if (error == m_stateError) return;
        m_stateError = error;
        if (error == ERROR_SUCCESS) return;
        Say(L"", m_stateFile + L" cannot be written (error " + std::to_wstring(error) +
                     L"): a plug-in that crashes the program while it is being listed will not be left out");
    }

  private:
    std::string ReadState() const {
        std::string state;
        RemoveTemporaries(m_stateFile.c_str());
        // No file and one that cannot be read come to the same: nothing is known against any plug-in.
        ReadFileContents(m_stateFile.c_str(), state);
        return state;
    }

    void Say(const std::wstring& subject, const std::wstring& text) { m_events.Event(EventKind::PlugIn, subject, text); }
    void Skip(const std::wstring& name, const std::wstring& reason) { Say(name, name + L" skipped: " + reason); }

    void LeaveOut(const std::wstring& name) {
        Say(name, name + L" left out: " + kCrashedTwice + L"; tried again when the file changes or " + m_stateFile +
                      L" is deleted");
        m_algorithms.AddLeftOut({name, kCrashedTwice});
    }

    void Read(const std::wstring& path, const std::wstring& name) {
        const CPluginLibrary library(path);
        if (!library.IsLoaded())
            return Skip(name, L"it cannot be loaded (error " + std::to_wstring(library.LoadError()) + L")");
        if (library.Interface() == nullptr) return Skip(name, L"it has no GetInterface");
        const std::uint32_t version = library.AbiVersion() != nullptr ? library.AbiVersion()() : 1;
        if (version > QV_ABI_VERSION)
            return Skip(name, L"it needs version " + std::to_wstring(version) +
                                  L" of the plug-in interface, this program has " +
                                  std::to_wstring(static_cast<std::uint32_t>(QV_ABI_VERSION)));
        const auto* descriptor = reinterpret_cast<const void*>(library.Interface()(QV_INTERFACE_DESCRIPTOR));
        if (descriptor == nullptr) return Skip(name, L"it returns no descriptor");

        AlgorithmEntry entry;
        std::memcpy(&entry.record, descriptor, sizeof(entry.record));
        entry.record.name[QV_NAME_CHARS - 1] = L'\0';
        CopyToField(path, entry.record.libraryPath);
        const wchar_t* unit = library.Unit() != nullptr ? library.Unit()() : nullptr;
        if (unit != nullptr) entry.unit = unit;
        Say(name, std::wstring(entry.record.name) + L" (" + std::to_wstring(entry.record.id) + L") from " + name);
        m_algorithms.Add(std::move(entry));
    }

    const std::wstring m_stateFile;
    CEventLog& m_events;
    CAlgorithmList& m_algorithms;
    CPlugInQuarantine m_quarantine;
    DWORD m_stateError = ERROR_SUCCESS;
};

}  // namespace

void EnumerateAlgorithms(const std::wstring& algosFolder, const std::wstring& stateFile, CEventLog& events,
                         CAlgorithmList& algorithms) {
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW((algosFolder + L"*.dll").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) {
        events.Event(EventKind::PlugIn, L"", L"no plug-ins in " + algosFolder);
        return;
    }
    CListing listing(stateFile, events, algorithms);
    do {
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) listing.List(algosFolder, found);
    } while (FindNextFileW(search, &found));
    FindClose(search);
    listing.WriteState();
}
