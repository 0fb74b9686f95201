#pragma once
#include <string>
#include <vector>

// A fresh folder that is removed with the files in it.
class CScratchFolder {
  public:
    CScratchFolder();
    ~CScratchFolder();
    CScratchFolder(const CScratchFolder&) = delete;
    CScratchFolder& operator=(const CScratchFolder&) = delete;

    std::wstring Path(const std::wstring& name) const { return m_path + L"\\" + name; }
    std::vector<std::wstring> Files() const;  // names, sorted

  private:
    std::wstring m_path;
};

// Empty when there is no such file.
std::string FileBytes(const std::wstring& path);
void WriteFileBytes(const std::wstring& path, const std::string& bytes);
