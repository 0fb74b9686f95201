#include "gui/LocalInterfaces.h"

std::wstring AddressText(std::uint32_t address) {
    std::wstring text = std::to_wstring(address & 0xFF);
    for (unsigned shift = 8; shift < 32; shift += 8)
        text.append(L".").append(std::to_wstring(address >> shift & 0xFF));
    return text;
}
