#include "config/RuntimeSettingsXml.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>

#include "support/XmlAttributes.h"

namespace {

constexpr int kMalformedRectangle = 24;

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

void ReadRuntimeSettings(const XML_NODE& root, RuntimeSettings& settings) {
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
    if (const std::string* token = FindAttribute(root, "ControlToken")) settings.ControlToken = *token;
    const XML_NODE* logging = FindChild(root, "Logging");
    if (logging == nullptr) return;
    ReadNumber(*logging, "MainLog", settings.MainLog);
    ReadNumber(*logging, "ConnectionLog", settings.ConnectionLog);
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
    if (!settings.ControlToken.empty()) SetAttribute(root, "ControlToken", std::string_view(settings.ControlToken));
    XML_NODE& logging = AddChild(root, "Logging");
    SetAttribute(logging, "MainLog", settings.MainLog);
    SetAttribute(logging, "ConnectionLog", settings.ConnectionLog);
}
