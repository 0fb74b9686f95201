#include "world/Picture.h"
#include <algorithm>
#include <cstdio>
#include <fstream>

namespace {

struct Look {
    const char* colour;
    const char* name;
};
// In the order of MinuteState.
constexpr Look kLooks[] = {{"#9aa0a6", "not started"},
                           {"#3a9b5c", "mining"},
                           {"#3b6fb6", "developer's time"},
                           {"#d98324", "no pool in reach, or no card"},
                           {"#c0392b", "on the way back"}};
constexpr int kMinutesADay = 1440;
constexpr int kLeft = 60;
constexpr int kTop = 40;
constexpr int kRow = 56;
constexpr int kBar = 26;

std::string Text(int x, int y, const std::string& text, int size = 11) {
    return "<text x=\"" + std::to_string(x) + "\" y=\"" + std::to_string(y) + "\" font-size=\"" + std::to_string(size) +
           "\">" + text + "</text>\n";
}

std::string Box(int x, int y, int width, int height, const char* colour) {
    return "<rect x=\"" + std::to_string(x) + "\" y=\"" + std::to_string(y) + "\" width=\"" + std::to_string(width) +
           "\" height=\"" + std::to_string(height) + "\" fill=\"" + colour + "\"/>\n";
}

}  // namespace

bool DrawPicture(const std::string& path, const RunPlan& plan, const RunResult& run) {
    const int days = static_cast<int>((run.minutes.size() + kMinutesADay - 1) / kMinutesADay);
    const int height = kTop + days * kRow + 40;
    std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" font-family=\"sans-serif\" width=\"" +
                      std::to_string(kLeft + kMinutesADay + 20) + "\" height=\"" + std::to_string(height) +
                      "\">\n<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
    svg += Text(8, 22, "Seed " + std::to_string(plan.seed) + ": one rig, a day a row, a minute a pixel; simulated", 14);
    for (int day = 0; day < days; ++day)
        svg += Text(8, kTop + day * kRow + 42, "day " + std::to_string(day + 1));
    for (std::size_t at = 0; at < run.minutes.size();) {
        const std::size_t dayEnd = (at / kMinutesADay + 1) * kMinutesADay;
        std::size_t end = at;
        while (end < std::min(dayEnd, run.minutes.size()) && run.minutes[end] == run.minutes[at])
            ++end;
        svg += Box(kLeft + static_cast<int>(at % kMinutesADay), kTop + static_cast<int>(at / kMinutesADay) * kRow + 24,
                   static_cast<int>(end - at), kBar, kLooks[static_cast<std::size_t>(run.minutes[at])].colour);
        at = end;
    }
    int free[2] = {0, 0};  // from where on there is room in the two lines of names
    int lastDay = -1;
    for (const Fault& fault : plan.faults) {
        const int minute = static_cast<int>(fault.at / kTicksPerMinute);
        const int day = minute / kMinutesADay;
        if (day != std::exchange(lastDay, day)) free[0] = free[1] = 0;
        const int x = kLeft + minute % kMinutesADay;
        svg += Box(x, kTop + day * kRow + 20, 1, kBar + 4, "#000000");
        const int line = free[0] <= x ? 0 : free[1] <= x ? 1 : 2;
        if (line == 2) continue;
        const std::string name(TraitsOf(fault.kind).name);
        svg += Text(x, kTop + day * kRow + 18 - line * 9, name, 9);
        free[line] = x + static_cast<int>(name.size()) * 5 + 4;
    }
    int x = kLeft;
    for (const Look& look : kLooks) {
        svg += Box(x, height - 28, 14, 14, look.colour) + Text(x + 20, height - 17, look.name, 12);
        x += 200;
    }
    std::ofstream file(path);
    file << svg << "</svg>\n";
    if (file.flush()) return true;
    std::fprintf(stderr, "%s cannot be written\n", path.c_str());
    return false;
}
