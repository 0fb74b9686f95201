#pragma once
#include <filesystem>
#include <random>
#include <string>

// A folder of its own that goes with the test.
class CTestFolder {
  public:
    CTestFolder()
        : m_path(std::filesystem::temp_directory_path() /
                 ("quorvel-control-test-" + std::to_string(std::random_device()()))) {
        std::filesystem::create_directories(m_path);
    }
    ~CTestFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    CTestFolder(const CTestFolder&) = delete;
    CTestFolder& operator=(const CTestFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }

  private:
    std::filesystem::path m_path;
};
