#include "toolkit/StyleSettings.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace {

struct SystemName {
    std::string_view name;
    int index;
};

constexpr SystemName kSystemNames[] = {
    {"ScrollBar", COLOR_SCROLLBAR},
    {"Desktop", COLOR_BACKGROUND},
    {"ActiveCaption", COLOR_ACTIVECAPTION},
    {"InactiveCaption", COLOR_INACTIVECAPTION},
    {"Menu", COLOR_MENU},
    {"Window", COLOR_WINDOW},
    {"WindowFrame", COLOR_WINDOWFRAME},
    {"MenuText", COLOR_MENUTEXT},
    {"WindowText", COLOR_WINDOWTEXT},
    {"CaptionText", COLOR_CAPTIONTEXT},
    {"ActiveBorder", COLOR_ACTIVEBORDER},
    {"InactiveBorder", COLOR_INACTIVEBORDER},
    {"Highlight", COLOR_HIGHLIGHT},
    {"HighlightText", COLOR_HIGHLIGHTTEXT},
    {"ButtonFace", COLOR_BTNFACE},
    {"ButtonShadow", COLOR_BTNSHADOW},
    {"GrayText", COLOR_GRAYTEXT},
    {"ButtonText", COLOR_BTNTEXT},
    {"InactiveCaptionText", COLOR_INACTIVECAPTIONTEXT},
    {"ButtonHighlight", COLOR_BTNHIGHLIGHT},
    {"ButtonDarkShadow", COLOR_3DDKSHADOW},
    {"ButtonLight", COLOR_3DLIGHT},
    {"InfoText", COLOR_INFOTEXT},
    {"InfoBackground", COLOR_INFOBK},
    {"HotLight", COLOR_HOTLIGHT},
};

// In the order of ThemeColor.
constexpr std::string_view kPartNames[] = {
    "FieldBorder",         "FieldBorderHot",
    "FieldBorderFocus",    "ButtonFace",
    "ButtonBorder",        "ButtonText",
    "ButtonFaceHot",       "ButtonBorderHot",
    "ButtonTextHot",       "ButtonFacePressed",
    "ButtonTextPressed",   "ButtonFaceDisabled",
    "ButtonTextDisabled",  "Accent",
    "AccentText",          "CaptionFace",
    "CaptionText",         "CaptionTextInactive",
    "CaptionButtonHot",    "CaptionButtonPressed",
    "CaptionCloseHot",     "CaptionCloseText",
    "FrameActive",         "FrameInactive",
    "HeaderFace",          "HeaderText",
    "HeaderLine",          "RowFace",
    "RowStripe",           "RowText",
    "RowSelected",         "RowSelectedText",
    "RowSelectedInactive", "RowFocus",
    "ScrollTrack",         "ScrollThumb",
    "ScrollThumbHot",      "SeparatorLine",
    "SeparatorText",       "Error",
};
static_assert(std::size(kPartNames) == static_cast<std::size_t>(ThemeColor::Count));

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kBlank = " \t\r";
    const std::size_t first = text.find_first_not_of(kBlank);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

// "#RRGGBB".
std::optional<COLORREF> ParseColor(std::string_view text) {
    constexpr std::size_t kLength = 7;
    unsigned value = 0;
    if (text.size() != kLength || text[0] != '#') return std::nullopt;
    const auto [end, error] = std::from_chars(text.data() + 1, text.data() + kLength, value, 16);
    if (error != std::errc() || end != text.data() + kLength) return std::nullopt;
    return RGB(value >> 16 & 0xFF, value >> 8 & 0xFF, value & 0xFF);
}

COLORREF* FindColor(ThemePalette& palette, std::string_view section, std::string_view name) {
    if (section == "System") {
        const auto* found = std::find_if(std::begin(kSystemNames), std::end(kSystemNames),
                                         [&](const SystemName& entry) { return entry.name == name; });
        return found == std::end(kSystemNames) ? nullptr : &palette.system[static_cast<std::size_t>(found->index)];
    }
    if (section != "Parts") return nullptr;
    const auto* found = std::find(std::begin(kPartNames), std::end(kPartNames), name);
    return found == std::end(kPartNames) ? nullptr
                                         : &palette.parts[static_cast<std::size_t>(found - std::begin(kPartNames))];
}

struct ModuleCloser {
    void operator()(HMODULE module) const { FreeLibrary(module); }
};

}  // namespace

StyleSettings ParseStyleSettings(std::string_view text, const ThemePalette& base) {
    StyleSettings settings = {base, 0};
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
    std::string_view section;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        line = Trimmed(line.substr(0, line.find(';')));
        if (line.size() >= 2 && line.front() == '[' && line.back() == ']') {
            section = line.substr(1, line.size() - 2);
            continue;
        }
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos) continue;
        COLORREF* const color = FindColor(settings.palette, section, Trimmed(line.substr(0, equals)));
        if (color == nullptr) continue;
        const std::optional<COLORREF> value = ParseColor(Trimmed(line.substr(equals + 1)));
        if (value) {
            *color = *value;
        } else {
            ++settings.refused;
        }
    }
    return settings;
}

bool LoadStyle(const std::wstring& modulePath, const std::wstring& settingsName, ThemePalette& palette) {
    const std::unique_ptr<std::remove_pointer_t<HMODULE>, ModuleCloser> module(
        LoadLibraryExW(modulePath.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE));
    if (module == nullptr) return false;
    const HRSRC resource = FindResourceW(module.get(), settingsName.c_str(), L"SETTINGS");
    if (resource == nullptr) return false;
    const HGLOBAL data = LoadResource(module.get(), resource);
    const auto* text = data == nullptr ? nullptr : static_cast<const char*>(LockResource(data));
    if (text == nullptr) return false;
    palette = ParseStyleSettings({text, SizeofResource(module.get(), resource)}, ThemePalette::FromSystem()).palette;
    return true;
}
