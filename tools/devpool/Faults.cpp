#include "Faults.h"

#include <array>
#include <string_view>

namespace {

using namespace std::string_view_literals;

constexpr std::array kLines = {
    "garbage"sv,
    ""sv,
    "null"sv,
    "[1,2,3]"sv,
    R"({"id":1,"result":)"sv,
    R"({"id":0,"method":"mining.notify","params":[1,null,{},[]]})"sv,
    R"({"id":0,"method":"mining.notify","params":{}})"sv,
    R"({"id":null,"method":"mining.notify"})"sv,
    R"({"id":0,"result":{"a":1},"error":null})"sv,
    R"({"id":null,"method":"mining.set_difficulty","params":["x"]})"sv,
    R"({"id":null,"method":"mining.set_extranonce","params":[7]})"sv,
    R"({"id":-1e400,"method":"mining.notify","params":[]})"sv,
    R"({"id":18446744073709551616,"result":true})"sv,
    "{\"id\":0,\"method\":\"\xFF\xFE\xC0\x80\",\"params\":[]}"sv,
    "{\"id\":0\0,\"result\":true}"sv,
};
constexpr std::size_t kDepth = 100'000;
constexpr std::size_t kLong = 1'000'000;

}  // namespace

std::size_t GarbageLines() {
    return kLines.size() + 3;
}

std::string GarbageLine(std::size_t index) {
    index %= GarbageLines();
    if (index < kLines.size()) return std::string(kLines[index]);
    switch (index - kLines.size()) {
        case 0:
            return std::string(kDepth, '[');
        case 1:
            return R"({"id":0,"params":)" + std::string(kDepth, '[') + std::string(kDepth, ']') + "}";
        default:
            return R"({"id":0,"method":")" + std::string(kLong, 'x') + R"("})";
    }
}
