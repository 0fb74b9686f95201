#include "gpu/SMtoCores.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace {

struct SMtoCoresRow {
    std::int32_t key;  // major * 16 + minor
    std::int32_t cores;
};
constexpr SMtoCoresRow kTable[] = {
    {0x30, 192}, {0x32, 192}, {0x35, 192}, {0x37, 192}, {0x50, 128}, {0x52, 128}, {0x53, 128},
    {0x60, 64},  {0x61, 128}, {0x62, 128}, {0x70, 64},  {0x72, 64},  {0x75, 64},
};
constexpr std::int32_t kDefaultCores = std::rbegin(kTable)->cores;

}  // namespace

std::int32_t MapSMtoCores(std::int32_t major, std::int32_t minor) {
    const auto row = std::ranges::find(kTable, major * 16 + minor, &SMtoCoresRow::key);
    if (row != std::end(kTable)) return row->cores;
    std::printf("MapSMtoCores for SM %d.%d is undefined.  Default to use %d Cores/SM\n", major, minor, kDefaultCores);
    return kDefaultCores;
}
