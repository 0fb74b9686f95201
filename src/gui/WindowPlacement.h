#pragma once
#include <span>
#include "config/RuntimeSettings.h"

// Where a window goes that was last at window; workAreas: of the screens of now, in the same coordinates. It stays where
// enough of its caption can be seen and grasped; else it comes, at its size, onto the nearest screen, its top left corner
// within it. Portable.
SettingsRect PlaceOnScreen(const SettingsRect& window, std::span<const SettingsRect> workAreas);
