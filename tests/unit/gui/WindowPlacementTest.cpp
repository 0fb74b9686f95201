#include "gui/WindowPlacement.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace {

constexpr std::int32_t kLow = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kHigh = std::numeric_limits<std::int32_t>::max();

TEST(WindowPlacement, BringsBackWhatCannotBeGrasped) {
    // A screen of 1920 x 1040 and one of 1280 x 984 to its left.
    const std::vector<SettingsRect> screens = {{0, 0, 1920, 1040}, {-1280, 0, 0, 984}};
    const struct {
        const char* name;
        SettingsRect window;
        std::int32_t left, top;
    } cases[] = {
        {"on the first screen", {100, 100, 860, 730}, 100, 100},
        {"on the second screen", {-1200, 50, -440, 680}, -1200, 50},
        {"across both", {-300, 100, 460, 730}, -300, 100},
        {"a grip at the right edge", {1840, 100, 2600, 730}, 1840, 100},
        {"less than a grip at the right edge", {1841, 100, 2601, 730}, 1160, 100},
        {"caption above the screen", {100, -20, 860, 610}, 100, 0},
        {"caption below the screen", {100, 1030, 860, 1660}, 100, 410},
        {"on a screen that is gone, far right", {4000, 200, 4760, 830}, 1160, 200},
        {"on a screen that is gone, left", {-5000, 200, -4240, 830}, -1280, 200},
        {"larger than any screen", {5000, 3000, 9000, 6000}, 0, 0},
        {"minimised", {-32000, -32000, -31840, -31972}, -1280, 0},
        {"smaller than a grip", {10, 10, 40, 60}, 10, 10},
    };
    for (const auto& c : cases) {
        const SettingsRect placed = PlaceOnScreen(c.window, screens);
        EXPECT_EQ(placed.left, c.left) << c.name;
        EXPECT_EQ(placed.top, c.top) << c.name;
        EXPECT_EQ(placed.right - placed.left, c.window.right - c.window.left) << c.name;
        EXPECT_EQ(placed.bottom - placed.top, c.window.bottom - c.window.top) << c.name;
    }
}

TEST(WindowPlacement, TakesAnyNumbersOfAFile) {
    const std::vector<SettingsRect> screens = {{0, 0, 1920, 1040}};
    const SettingsRect huge = PlaceOnScreen({kLow, kLow, kHigh, kLow + 100}, screens);
    EXPECT_EQ(huge.left, 0);
    EXPECT_EQ(huge.top, 0);
    const SettingsRect corner = PlaceOnScreen({kHigh - 100, kHigh - 100, kHigh, kHigh}, screens);
    EXPECT_EQ(corner.left, 1820);
    EXPECT_EQ(corner.top, 940);
    EXPECT_EQ(PlaceOnScreen({kLow, 0, kLow + 10, 10}, {}).left, kLow) << "no screen is known";
    EXPECT_EQ(PlaceOnScreen({-900, -900, -900, -900}, screens).left, -900) << "an empty rectangle means none";
}

TEST(WindowPlacement, DoesNotCreepUnderATaskbarAtTheTopOrTheLeft) {
    constexpr SettingsRect kWindow = {100, 100, 860, 730};
    EXPECT_EQ(FromWorkspace(kWindow, {0, 0, 1920, 1080}, {0, 40, 1920, 1080}), (SettingsRect{100, 140, 860, 770}));
    EXPECT_EQ(FromWorkspace(kWindow, {-1280, 0, 0, 1024}, {-1200, 0, 0, 1024}), (SettingsRect{180, 100, 940, 730}));
    EXPECT_EQ(FromWorkspace(kWindow, {0, 0, 1920, 1080}, {0, 0, 1920, 1040}), kWindow);
}

}  // namespace
