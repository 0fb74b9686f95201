#include "config/RuntimeSettingsXml.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <span>
#include <system_error>
#include <variant>

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

constexpr wchar_t kOwner[] = L"the settings";
constexpr wchar_t kLoggingOwner[] = L"Logging";

constexpr std::int64_t kInt32Least = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t kInt32Most = std::numeric_limits<std::int32_t>::max();

// What is no number of days is taken for the default.
std::int32_t ParseLogDays(const std::string& text) {
    std::int32_t days = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, days);
    return error == std::errc() && stop == end && days >= 0 ? days : kDefaults.LogDays;
}

// Every setting, in the order of the file.
struct RectangleSetting {
    const char* name;
    SettingsRect RuntimeSettings::*field;
};
constexpr RectangleSetting kRectangles[] = {
    {"WindowPos", &RuntimeSettings::WindowPos},
    {"ConfigWorkerPos", &RuntimeSettings::ConfigWorkerPos},
    {"ConfigMiningPoolsPos", &RuntimeSettings::ConfigMiningPoolsPos},
};

enum class Presence { Always, UnlessDefault };
template <typename Number>
struct NumberSetting {
    const char* name;
    Number RuntimeSettings::*field;
    Number (*parse)(const std::string&);
    std::int64_t least, most;  // beyond them: read all the same, and reported
    Presence presence = Presence::Always;
};
using AnySetting = std::variant<NumberSetting<std::int32_t>, NumberSetting<std::uint32_t>>;

constexpr AnySetting Number(const char* name, std::int32_t RuntimeSettings::*field, std::int64_t least, std::int64_t most,
                            Presence presence = Presence::Always) {
    return NumberSetting<std::int32_t>{name, field, ParseInt32, least, most, presence};
}
constexpr AnySetting Number(const char* name, std::uint32_t RuntimeSettings::*field, std::int64_t least, std::int64_t most,
                            Presence presence = Presence::Always) {
    return NumberSetting<std::uint32_t>{name, field, ParseUInt32, least, most, presence};
}
constexpr AnySetting Flag(const char* name, std::int32_t RuntimeSettings::*field, Presence presence = Presence::Always) {
    return Number(name, field, kInt32Least, kInt32Most, presence);
}

constexpr AnySetting kNumbers[] = {
    Flag("StartSolverOnStart", &RuntimeSettings::StartSolverOnStart),
    Number("HostIP", &RuntimeSettings::HostIP, 0, std::numeric_limits<std::uint32_t>::max()),
    Number("HostPort", &RuntimeSettings::HostPort, 1, std::numeric_limits<std::uint16_t>::max()),
    Number("ControlState", &RuntimeSettings::ControlState, 0, 2),
    Number("LastControlState", &RuntimeSettings::LastControlState, 0, 1),
    Number("MiningState", &RuntimeSettings::MiningState, 0, 2),
    Number("LastMiningState", &RuntimeSettings::LastMiningState, 0, 1),
    Flag("Theme", &RuntimeSettings::Theme, Presence::UnlessDefault),
    Flag("HideMinimized", &RuntimeSettings::HideMinimized, Presence::UnlessDefault),
    Flag("AskBeforeClosing", &RuntimeSettings::AskBeforeClosing, Presence::UnlessDefault),
    Number("WarmDegrees", &RuntimeSettings::WarmDegrees, 1, 150, Presence::UnlessDefault),
    Number("HotDegrees", &RuntimeSettings::HotDegrees, 1, 150, Presence::UnlessDefault),
};
// Written unless empty.
struct TextSetting {
    const char* name;
    std::string RuntimeSettings::*field;
};
constexpr TextSetting kTexts[] = {{"ControlToken", &RuntimeSettings::ControlToken}, {"Proxy", &RuntimeSettings::Proxy}};

// In the child of that name.
constexpr char kLogging[] = "Logging";
constexpr AnySetting kLoggingNumbers[] = {
    Flag("MainLog", &RuntimeSettings::MainLog),
    Flag("ConnectionLog", &RuntimeSettings::ConnectionLog),
    NumberSetting<std::int32_t>{"LogDays", &RuntimeSettings::LogDays, ParseLogDays, 0, kInt32Most, Presence::UnlessDefault},
};

void ReadNumbers(const XML_NODE& element, std::span<const AnySetting> settings, RuntimeSettings& record) {
    for (const AnySetting& setting : settings) {
        std::visit(
            [&](const auto& number) {
                if (const std::string* value = FindAttribute(element, number.name))
                    record.*number.field = number.parse(*value);
            },
            setting);
    }
}

void WriteNumbers(const RuntimeSettings& record, std::span<const AnySetting> settings, XML_NODE& element) {
    for (const AnySetting& setting : settings) {
        std::visit(
            [&](const auto& number) {
                const auto value = record.*number.field;
                if (number.presence == Presence::UnlessDefault && value == kDefaults.*number.field) return;
                SetAttribute(element, number.name, value);
            },
            setting);
    }
}

void CheckNumbers(const XML_NODE& element, std::span<const AnySetting> settings, std::wstring_view owner,
                  CLoadReport& report) {
    for (const AnySetting& setting : settings) {
        std::visit([&](const auto& number) { report.CheckNumber(element, number.name, number.least, number.most, owner); },
                   setting);
    }
}

std::vector<std::string_view> NamesOf(std::span<const AnySetting> settings) {
    std::vector<std::string_view> names;
    names.reserve(settings.size());
    for (const AnySetting& setting : settings)
        names.emplace_back(std::visit([](const auto& number) { return number.name; }, setting));
    return names;
}

void CheckSettings(const XML_NODE& root, CLoadReport& report) {
    if (root.name != kRuntimeSettingsRoot) report.Dropped(L"the root element, which is no RuntimeSettings");
    std::vector<std::string_view> names = NamesOf(kNumbers);
    for (const TextSetting& text : kTexts)
        names.emplace_back(text.name);
    for (const RectangleSetting& rectangle : kRectangles)
        names.emplace_back(rectangle.name);
    constexpr std::string_view children[] = {kLogging};
    report.CheckNames(root, names, children, kOwner);
    CheckNumbers(root, kNumbers, kOwner, report);
    for (const RectangleSetting& rectangle : kRectangles) {
        const std::string* const text = FindAttribute(root, rectangle.name);
        std::array<std::int32_t, 4> sides = {};
        if (text == nullptr || ScanSides(text->c_str(), sides)) continue;
        const std::string_view name = rectangle.name;
        report.Dropped(std::wstring(name.begin(), name.end()).append(L" of ").append(kOwner));
    }
    const std::vector<const XML_NODE*> logging = CollectChildren(root, kLogging);
    if (logging.size() > 1) report.Dropped(L"another Logging of the settings");
    if (logging.empty()) return;
    report.CheckNames(*logging[0], NamesOf(kLoggingNumbers), {}, kLoggingOwner);
    CheckNumbers(*logging[0], kLoggingNumbers, kLoggingOwner, report);
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
    for (const RectangleSetting& rectangle : kRectangles)
        ReadRectangle(root, rectangle.name, settings.*rectangle.field);
    ReadNumbers(root, kNumbers, settings);
    for (const TextSetting& text : kTexts)
        if (auto value = FindUtf8Attribute(root, text.name)) settings.*text.field = *std::move(value);
    if (const XML_NODE* logging = FindChild(root, kLogging)) ReadNumbers(*logging, kLoggingNumbers, settings);
}

void WriteRuntimeSettings(const RuntimeSettings& settings, XML_NODE& root) {
    for (const RectangleSetting& rectangle : kRectangles)
        WriteRectangle(root, rectangle.name, settings.*rectangle.field);
    WriteNumbers(settings, kNumbers, root);
    for (const TextSetting& text : kTexts)
        if (!(settings.*text.field).empty()) SetUtf8Attribute(root, text.name, settings.*text.field);
    WriteNumbers(settings, kLoggingNumbers, AddChild(root, kLogging));
}
