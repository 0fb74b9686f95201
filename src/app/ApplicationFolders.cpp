#include "app/ApplicationFolders.h"

namespace {

constexpr int kLargeFontPoints = 19;
constexpr int kSmallFontPoints = 13;

std::wstring ModulePath() {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return path;
}

std::wstring MakeFolder(const std::wstring& parent, const wchar_t* name) {
    std::wstring folder = parent + name + L"\\";
    CreateDirectoryW(folder.c_str(), nullptr);
    return folder;
}

// What the system writes its own messages with; the stock font where that cannot be asked.
LOGFONTW DefaultFont() {
    NONCLIENTMETRICSW metrics = {};
    metrics.cbSize = sizeof(metrics);
    if (SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0)) return metrics.lfMessageFont;
    LOGFONTW font = {};
    GetObjectW(GetStockObject(DEFAULT_GUI_FONT), sizeof(font), &font);
    return font;
}

FontHandle MakeFont(LOGFONTW font, int points, int pixelsPerInch) {
    font.lfHeight = -MulDiv(points, pixelsPerInch, 72);
    return FontHandle(CreateFontIndirectW(&font));
}

void SetUpFonts(ApplicationFolders& folders) {
    const CWindowDC screen(nullptr);
    folders.horizontalPixelsPerInch = GetDeviceCaps(screen.Get(), LOGPIXELSX);
    folders.verticalPixelsPerInch = GetDeviceCaps(screen.Get(), LOGPIXELSY);
    const LOGFONTW font = DefaultFont();
    folders.largeFont = MakeFont(font, kLargeFontPoints, folders.verticalPixelsPerInch);
    folders.smallFont = MakeFont(font, kSmallFontPoints, folders.verticalPixelsPerInch);
    folders.textFont.reset(CreateFontIndirectW(&font));
}

}  // namespace

ApplicationFolders SetUpFolders(const DataFolder& data) {
    ApplicationFolders folders;
    wchar_t temporary[MAX_PATH + 1] = {};
    GetTempPathW(MAX_PATH, temporary);
    folders.temporaryFolder = temporary;

    folders.modulePath = ModulePath();
    folders.moduleFileName = folders.modulePath.substr(folders.modulePath.find_last_of(L"\\/") + 1);
    folders.installationFolder = ProgramFolder();
    folders.algosFolder = folders.installationFolder + L"Algos\\";
    folders.themesFolder = folders.installationFolder + L"Themes\\";

    folders.dataFolder = data.path;
    folders.dataFolderMoved = data.isMoved;
    folders.dataFolderIsNew = data.isNew;
    folders.dataFolderNote = PrepareDataFolder(data, folders.installationFolder);
    folders.settingsFolder = MakeFolder(folders.dataFolder, L"Settings");
    folders.logsFolder = MakeFolder(folders.dataFolder, L"Logs");
    folders.minerLogsFolder = MakeFolder(folders.logsFolder, L"Miner");
    SetUpFonts(folders);
    return folders;
}
