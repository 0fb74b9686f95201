// Runs a fuzz target once over every file of the folders given, and over every prefix of the shorter ones.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

constexpr std::size_t kPrefixLimit = 4096;

std::vector<std::uint8_t> ReadAll(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace

int main(int argc, char** argv) {
    std::size_t files = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            const std::vector<std::uint8_t> bytes = ReadAll(entry.path());
            for (std::size_t size = bytes.size() <= kPrefixLimit ? 0 : bytes.size(); size <= bytes.size(); ++size) {
                // A copy of exactly this size, so that a read past the end is caught.
                const std::vector<std::uint8_t> prefix(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
                LLVMFuzzerTestOneInput(prefix.data(), prefix.size());
            }
            ++files;
        }
    }
    std::printf("replayed %zu files\n", files);
    return files == 0 ? 1 : 0;
}
