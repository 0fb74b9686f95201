#include "gui/Colors.h"

#include <cmath>

namespace {

double Linear(std::uint32_t channel) {
    const double value = (channel & 0xFF) / 255.0;
    return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double Luminance(std::uint32_t color) {
    return 0.2126 * Linear(color) + 0.7152 * Linear(color >> 8) + 0.0722 * Linear(color >> 16);
}

}  // namespace

double ContrastRatio(std::uint32_t first, std::uint32_t second) {
    const double a = Luminance(first) + 0.05;
    const double b = Luminance(second) + 0.05;
    return a > b ? a / b : b / a;
}

std::uint32_t NoteColor(bool isProblem, std::uint32_t ground) {
    const std::uint32_t dark = isProblem ? 0x0000B0 : 0x004A80;
    const std::uint32_t light = isProblem ? 0x9090FF : 0x4DC0FF;
    return ContrastRatio(dark, ground) >= ContrastRatio(light, ground) ? dark : light;
}
