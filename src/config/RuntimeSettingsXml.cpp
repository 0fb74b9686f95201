#include "config/RuntimeSettingsXml.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <system_error>

#include "support/XmlAttributes.h"

namespace {

constexpr int kMalformedRectangle = 24;
const RuntimeSettings kDefaults;

std::int32_t ClampSide(long side) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(std::clamp<long>(side, Limits::min(), Limits::max()));
}

// As scanf reads "%d,%d,%d,%d": blanks may stand before a number, none before a comma, and what follows is ignored.
bool ScanSides(const char* text, std::array<std::int32_t, 4>& sides) {
    for (std::size_t i = 0; i < sides.size(); ++i) {
        if (i > 0 && *text++ != ',') return false;
        char* end = nullptr;
        sides[i] = ClampSide(std::strtol(text, &end, 10));
        if (end == text) return false;
        text = end;
    }
    return true;
}

void ReadNumber(const XML_NODE& element, std::string_view name, std::int32_t& field) {
    if (const std::string* value = FindAttribute(element, name)) field = ParseInt32(*value);
}

void ReadNumber(const XML_NODE& element, std::string_view name, std::uint32_t& field) {
    if (const std::string* value = FindAttribute(element, name)) field = ParseUInt32(*value);
}

constexpr wchar_t kOwner[] = L"the settings";

struct NumberRange {
    std::string_view name;
    std::int64_t least, most;
};
constexpr std::int64_t kInt32Most = std::numeric_limits<std::int32_t>::max();
constexpr NumberRange kRanges[] = {
    {"StartSolverOnStart", -kInt32Most - 1, kInt32Most},
    {"HostIP", 0, std::numeric_limits<std::uint32_t>::max()},
    {"HostPort", 1, std::numeric_limits<std::uint16_t>::max()},
    {"ControlState", 0, 2},
    {"LastControlState", 0, 1},
    {"MiningState", 0, 2},
    {"LastMiningState", 0, 1},
    {"Theme", -kInt32Most - 1, kInt32Most},
    {"HideMinimized", -kInt32Most - 1, kInt32Most},
};

void CheckSettings(const XML_NODE& root, CLoadReport& report) {
    if (root.name != kRuntimeSettingsRoot) report.Dropped(L"the root element, which is no RuntimeSettings");
    report.CheckNames(
        root,
        {"WindowPos", "ConfigWorkerPos", "ConfigMiningPoolsPos", "StartSolverOnStart", "HostIP", "HostPort", "ControlState",
         "LastControlState", "MiningState", "LastMiningState", "Theme", "HideMinimized", "ControlToken"},
        {"Logging"}, kOwner);
    for (const NumberRange& range : kRanges)
        report.CheckNumber(root, range.name, range.least, range.most, kOwner);
    for (const std::string_view name : {"WindowPos", "ConfigWorkerPos", "ConfigMiningPoolsPos"}) {
        const std::string* const text = FindAttribute(root, name);
        std::array<std::int32_t, 4> sides = {};
        if (text != nullptr && !ScanSides(text->c_str(), sides))
            report.Dropped(std::wstring(name.begin(), name.end()).append(L" of ").append(kOwner));
    }
    const std::vector<const XML_NODE*> logging = CollectChildren(root, "Logging");
    if (logging.size() > 1) report.Dropped(L"another Logging of the settings");
    if (logging.empty()) return;
    report.CheckNames(*logging[0], {"MainLog", "ConnectionLog", "LogDays"}, {}, L"Logging");
    for (const std::string_view name : {"MainLog", "ConnectionLog"})
        report.CheckNumber(*logging[0], name, -kInt32Most - 1, kInt32Most, L"Logging");
    report.CheckNumber(*logging[0], "LogDays", 0, kInt32Most, L"Logging");
}

// What is no number of days is taken for the default.
std::int32_t ParseLogDays(const std::string& text) {
    std::int32_t days = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, days);
    return error == std::errc() && stop == end && days >= 0 ? days : kDefaults.LogDays;
}

}  // namespace

int ReadRectangle(const XML_NODE& root, std::string_view name, SettingsRect& rectangle) {
    const std::string* value = FindAttribute(root, name);
    std::array<std::int32_t, 4> sides = {};
    if (value == nullptr || !ScanSides(value->c_str(), sides)) return kMalformedRectangle;
    rectangle = {sides[0], sides[1], sides[2], sides[3]};
    return 0;
}

void WriteRectangle(XML_NODE& root, std::string_view name, const SettingsRect& rectangle) {
    std::string text = std::to_string(rectangle.left);
    for (const std::int32_t side : {rectangle.top, rectangle.right, rectangle.bottom})
        text.append(",").append(std::to_string(side));
    SetAttribute(root, name, std::string_view(text));
}

void ReadRuntimeSettings(const XML_NODE& root, RuntimeSettings& settings, CLoadReport& report) {
    CheckSettings(root, report);
    ReadRectangle(root, "WindowPos", settings.WindowPos);
    ReadRectangle(root, "ConfigWorkerPos", settings.ConfigWorkerPos);
    ReadRectangle(root, "ConfigMiningPoolsPos", settings.ConfigMiningPoolsPos);
    ReadNumber(root, "StartSolverOnStart", settings.StartSolverOnStart);
    ReadNumber(root, "HostIP", settings.HostIP);
    ReadNumber(root, "HostPort", settings.HostPort);
    ReadNumber(root, "ControlState", settings.ControlState);
    ReadNumber(root, "LastControlState", settings.LastControlState);
    ReadNumber(root, "MiningState", settings.MiningState);
    ReadNumber(root, "LastMiningState", settings.LastMiningState);
    ReadNumber(root, "Theme", settings.Theme);
    ReadNumber(root, "HideMinimized", settings.HideMinimized);
    if (auto token = FindUtf8Attribute(root, "ControlToken")) settings.ControlToken = *std::move(token);
    const XML_NODE* logging = FindChild(root, "Logging");
    if (logging == nullptr) return;
    ReadNumber(*logging, "MainLog", settings.MainLog);
    ReadNumber(*logging, "ConnectionLog", settings.ConnectionLog);
    if (const std::string* days = FindAttribute(*logging, "LogDays")) settings.LogDays = ParseLogDays(*days);
}

void WriteRuntimeSettings(const RuntimeSettings& settings, XML_NODE& root) {
    WriteRectangle(root, "WindowPos", settings.WindowPos);
    WriteRectangle(root, "ConfigWorkerPos", settings.ConfigWorkerPos);
    WriteRectangle(root, "ConfigMiningPoolsPos", settings.ConfigMiningPoolsPos);
    SetAttribute(root, "StartSolverOnStart", settings.StartSolverOnStart);
    SetAttribute(root, "HostIP", settings.HostIP);
    SetAttribute(root, "HostPort", settings.HostPort);
    SetAttribute(root, "ControlState", settings.ControlState);
    SetAttribute(root, "LastControlState", settings.LastControlState);
    SetAttribute(root, "MiningState", settings.MiningState);
    SetAttribute(root, "LastMiningState", settings.LastMiningState);
    if (settings.Theme != 0) SetAttribute(root, "Theme", settings.Theme);
    if (settings.HideMinimized != 0) SetAttribute(root, "HideMinimized", settings.HideMinimized);
    if (!settings.ControlToken.empty()) SetUtf8Attribute(root, "ControlToken", settings.ControlToken);
    XML_NODE& logging = AddChild(root, "Logging");
    SetAttribute(logging, "MainLog", settings.MainLog);
    SetAttribute(logging, "ConnectionLog", settings.ConnectionLog);
    if (settings.LogDays != kDefaults.LogDays) SetAttribute(logging, "LogDays", settings.LogDays);
}
