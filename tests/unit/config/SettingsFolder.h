#pragma once
#include <windows.h>

#include <string>

// A fresh folder of this process, removed with the files in it.
class CSettingsFolder {
  public:
    CSettingsFolder();
    ~CSettingsFolder();
    CSettingsFolder(const CSettingsFolder&) = delete;
    CSettingsFolder& operator=(const CSettingsFolder&) = delete;

    const std::wstring& Path() const { return m_path; }  // ends with a backslash
    bool Exists(const std::wstring& name) const;
    std::string Bytes(const std::wstring& name) const;  // empty when there is no such file
    void Write(const std::wstring& name, const std::string& bytes) const;
    // Nobody else can open the file while the handle is open.
    HANDLE Lock(const std::wstring& name) const;
    // Gives the file an old time of writing, and tells whether it still has it.
    void Age(const std::wstring& name) const;
    bool IsAged(const std::wstring& name) const;

  private:
    std::wstring m_path;
};
