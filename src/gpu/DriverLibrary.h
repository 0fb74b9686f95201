#pragma once
#include <windows.h>
#include <span>
#include <string>
#include <vector>

// The folders of the display driver's libraries, as full paths. A SimGpus.ini in the executable's folder makes that the only
// one: the libraries that simulate cards lie beside it, and simulated and real ones are never mixed.
std::vector<std::wstring> DriverFolders(const std::wstring& executableFolder);

// One library of the display driver. Loaded by full path only, so never from the folder that the program was started in.
class CDriverLibrary {
  public:
    // Takes the first of the folders that has a loadable one.
    CDriverLibrary(const wchar_t* fileName, std::span<const std::wstring> folders);
    ~CDriverLibrary();
    CDriverLibrary(const CDriverLibrary&) = delete;
    CDriverLibrary& operator=(const CDriverLibrary&) = delete;

    // Null when there is no library or no such function in it.
    template <class Function>
    void Find(const char* name, Function*& function) const {
        function = reinterpret_cast<Function*>(Address(name));
    }

  private:
    void* Address(const char* name) const;

    HMODULE m_library = nullptr;
};
