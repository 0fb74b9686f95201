#pragma once
#include <span>
#include "config/RuntimeSettings.h"

// Where a window goes that was last at window; workAreas: of the screens of now, in the same coordinates. It stays where
// enough of its caption can be seen and grasped; else it comes, at its size, onto the nearest screen, its top left corner
// within it. Portable.
SettingsRect PlaceOnScreen(const SettingsRect& window, std::span<const SettingsRect> workAreas);

// In coordinates of the screen, what the system gives in those of the workspace, which begin where a taskbar at the top or
// at the left ends. screen, workArea: of the screen that the window is on. Portable.
SettingsRect FromWorkspace(const SettingsRect& window, const SettingsRect& screen, const SettingsRect& workArea);
