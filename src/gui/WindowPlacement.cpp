#include "gui/WindowPlacement.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace {

// What must be on a screen for the mouse to take hold of, in pixels.
constexpr std::int64_t kGripWidth = 80;
constexpr std::int64_t kGripHeight = 24;

// Wide enough for any difference of stored numbers.
using Wide = std::int64_t;

struct Span {
    Wide low;
    Wide high;
    Wide Length() const { return high - low; }
};

Span Horizontal(const SettingsRect& rect) {
    return {rect.left, rect.right};
}

Span Vertical(const SettingsRect& rect) {
    return {rect.top, rect.bottom};
}

Wide Common(Span a, Span b) {
    return std::min(a.high, b.high) - std::max(a.low, b.low);
}

bool CaptionShows(const SettingsRect& window, const SettingsRect& area) {
    const Span caption{window.top, window.top + kGripHeight};
    return Common(Horizontal(window), Horizontal(area)) >= std::min(kGripWidth, Horizontal(window).Length()) &&
           Common(caption, Vertical(area)) >= kGripHeight;
}

// How far the window has to go to lie within the area; its start counts when it is larger.
Wide Shift(Span window, Span area) {
    const Wide last = std::max(area.low, area.high - window.Length());
    return std::clamp(window.low, area.low, last) - window.low;
}

Wide Magnitude(Wide value) {
    return value < 0 ? -value : value;
}

std::int32_t Narrow(Wide value) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(std::clamp<Wide>(value, Limits::min(), Limits::max()));
}

}  // namespace

SettingsRect PlaceOnScreen(const SettingsRect& window, std::span<const SettingsRect> workAreas) {
    if (workAreas.empty() || window.IsEmpty()) return window;
    if (std::any_of(workAreas.begin(), workAreas.end(),
                    [&window](const SettingsRect& area) { return CaptionShows(window, area); })) {
        return window;
    }
    const auto shiftX = [&window](const SettingsRect& area) { return Shift(Horizontal(window), Horizontal(area)); };
    const auto shiftY = [&window](const SettingsRect& area) { return Shift(Vertical(window), Vertical(area)); };
    const auto way = [&](const SettingsRect& area) { return Magnitude(shiftX(area)) + Magnitude(shiftY(area)); };
    const SettingsRect& nearest =
        *std::min_element(workAreas.begin(), workAreas.end(),
                          [&way](const SettingsRect& a, const SettingsRect& b) { return way(a) < way(b); });
    const Wide x = shiftX(nearest);
    const Wide y = shiftY(nearest);
    return {Narrow(window.left + x), Narrow(window.top + y), Narrow(window.right + x), Narrow(window.bottom + y)};
}

SettingsRect FromWorkspace(const SettingsRect& window, const SettingsRect& screen, const SettingsRect& workArea) {
    const std::int32_t x = workArea.left - screen.left;
    const std::int32_t y = workArea.top - screen.top;
    return {window.left + x, window.top + y, window.right + x, window.bottom + y};
}
