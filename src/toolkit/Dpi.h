#pragma once

// Pixels for a length given at 96 dpi, at the system's resolution (which the whole process uses). GUI thread.
int ScaleForDpi(int pixelsAt96Dpi);
