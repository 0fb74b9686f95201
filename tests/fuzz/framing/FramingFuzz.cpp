// Lines must not depend on how the bytes were cut into reads. The first byte is the delimiter, the second the seed of the
// sizes of the pieces, the rest the stream.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <string_view>
#include <vector>
#include "net/LineFramer.h"

namespace {

std::vector<std::string> Reference(std::string_view stream, char delimiter) {
    std::vector<std::string> lines;
    for (std::size_t end = stream.find(delimiter); end != stream.npos; end = stream.find(delimiter)) {
        lines.emplace_back(stream.substr(0, end + 1)).push_back('\0');
        stream.remove_prefix(end + 1);
    }
    return lines;
}

std::vector<std::string> Framed(std::string_view stream, char delimiter, std::uint8_t seed) {
    std::minstd_rand random(seed + 1u);
    CLineFramer framer(delimiter);
    std::vector<std::string> lines;
    while (!stream.empty()) {
        const std::size_t size = std::min<std::size_t>(stream.size(), seed == 0 ? stream.size() : random() % (4u * seed));
        framer.Add(stream.substr(0, size));
        stream.remove_prefix(size);
        for (auto line = framer.NextLine(); !line.empty(); line = framer.NextLine()) {
            lines.emplace_back(line.begin(), line.end());
            std::fill(line.begin(), line.end(), delimiter);  // the receiver may write in it
        }
    }
    return lines;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    const std::string_view stream(reinterpret_cast<const char*>(data) + 2, size - 2);
    const char delimiter = static_cast<char>(data[0]);
    const std::vector<std::string> expected = Reference(stream, delimiter);
    if (Framed(stream, delimiter, data[1]) != expected || Framed(stream, delimiter, 0) != expected) std::abort();
    return 0;
}
