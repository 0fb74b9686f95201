#include "app/MainWindow.h"

#include <atomic>
#include <iterator>
#include <sstream>

#include "common/CodePage.h"
#include "common/Messages.h"
#include "common/Version.h"
#include "toolkit/TaskDialog.h"

namespace {

constexpr int kWidthAt96Dpi = 700;
constexpr int kHeightAt96Dpi = 300;
constexpr int kMarginAt96Dpi = 14;

// Columns are parted by tabs.
std::wstring GpuLine(const QvGpuRecord& gpu) {
    const ShareCounts counts = ReadShareCounts(gpu.statistics);
    const std::uint64_t speed = std::atomic_ref(const_cast<std::uint64_t&>(gpu.statistics.hashSpeed)).load();
    return L"GPU#" + std::to_wstring(gpu.cudaId) + L"  " + NarrowToWide(gpu.name) + L"\t" + std::to_wstring(speed) +
           L"/s\tA:" + std::to_wstring(counts.accepted) + L" - S:" + std::to_wstring(counts.stale) + L" R:" +
           std::to_wstring(counts.rejected) + L"\n";
}

std::wstring PoolLine(const CMiningManager& manager) {
    const CMiningStratum& session = manager.UserSession();
    const PoolPointer pool = session.CurrentPool();
    if (manager.HasFailed() || pool == nullptr) return L"Failed to start: see the log\n";
    return std::wstring(pool->Name) + L"  " + pool->Server + L":" + std::to_wstring(pool->Port) +
           (session.IsReady() ? L"\tConnected\n" : L"\tNot connected\n");
}

int LineHeight(HDC device) {
    TEXTMETRICW metrics = {};
    GetTextMetricsW(device, &metrics);
    return metrics.tmHeight * 5 / 4;
}

// One line of text in columns of fixed parts of the width.
void DrawColumns(HDC device, const std::wstring& line, const RECT& area) {
    constexpr int kColumnPercent[] = {0, 54, 72, 100};
    const int width = area.right - area.left;
    std::wistringstream columns(line);
    std::wstring text;
    for (std::size_t i = 0; i + 1 < std::size(kColumnPercent) && std::getline(columns, text, L'\t'); ++i) {
        RECT cell = {area.left + width * kColumnPercent[i] / 100, area.top, area.left + width * kColumnPercent[i + 1] / 100,
                     area.bottom};
        DrawTextW(device, text.c_str(), -1, &cell, DT_NOPREFIX | DT_SINGLELINE | DT_END_ELLIPSIS);
    }
}

}  // namespace

bool CMainWindow::Create(HICON icon) {
    const int dpi = m_parts.folders.verticalPixelsPerInch;
    WindowSpec spec;
    spec.title = kApplicationName;
    spec.width = MulDiv(kWidthAt96Dpi, dpi, 96);
    spec.height = MulDiv(kHeightAt96Dpi, dpi, 96);
    spec.icon = icon;
    if (!CreateTopLevel(spec)) return false;
    const SettingsRect& position = m_parts.settings.WindowPos;
    if (!position.IsEmpty()) {
        SetWindowPos(Handle(), nullptr, position.left, position.top, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    }
    Refresh();
    ShowWindow(Handle(), SW_SHOW);
    const RuntimeSettings& settings = m_parts.settings;
    if (settings.MiningState == 1 || (settings.MiningState == 2 && settings.LastMiningState == 1)) {
        PostMessageW(Handle(), kMessageMining, 1, 0);
    }
    SetTimer(Handle(), kTimerId, kTimerPeriodMs, nullptr);
    return true;
}

LRESULT CMainWindow::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_TIMER:
            OnTimer();
            return 0;
        case WM_PAINT:
            OnPaint();
            return 0;
        case WM_DESTROY:
            OnDestroy();
            PostQuitMessage(0);
            return 0;
        case kMessageMining:
            OnMiningCommand(wParam == 1);
            return 0;
        case kMessageWorker:
        case kMessageControlState:
        case kMessageRefresh:
            Refresh();
            return 0;
        default:
            return CWnd::OnMessage(message, wParam, lParam);
    }
}

void CMainWindow::OnMiningCommand(bool start) {
    if (start == m_parts.mining.IsRunning()) return;
    if (start) {
        const ConfigurationPointer configuration = m_parts.configuration.Current();
        if (configuration->configurations.empty()) {
            ShowTaskDialog(
                kApplicationName,
                L"There are no GPUs/Pool that are configured to mine! Please verify your GPU/Pool configuration first!",
                TaskDialogIcon::Information);
            return;
        }
        if (m_parts.mining.Start(*configuration) != 0) return;
    } else {
        m_parts.mining.Stop();
    }
    m_parts.settings.LastMiningState = start ? 1 : 0;
    Refresh();
}

void CMainWindow::OnTimer() {
    if (m_tick % kTelemetryTicks == 0) {
        for (QvGpuRecord* gpu : m_parts.gpus)
            m_parts.updateTelemetry(*gpu);
    }
    if (m_tick % kSaveTicks == 0) m_parts.configuration.Save();
    Refresh();
    ++m_tick;
}

void CMainWindow::OnDestroy() {
    KillTimer(Handle(), kTimerId);
    m_parts.mining.Stop();
    WINDOWPLACEMENT placement = {};
    placement.length = sizeof(placement);
    if (!GetWindowPlacement(Handle(), &placement)) return;
    const RECT& position = placement.rcNormalPosition;
    m_parts.settings.WindowPos = {position.left, position.top, position.right, position.bottom};
}

std::wstring CMainWindow::StatusText() const {
    std::wstring text;
    for (const auto& manager : m_parts.mining.Managers())
        text += PoolLine(*manager);
    for (const QvGpuRecord* gpu : m_parts.gpus)
        text += GpuLine(*gpu);
    if (m_parts.gpus.empty()) text += L"No CUDA Devices found";
    return text;
}

void CMainWindow::Refresh() {
    const bool mining = m_parts.mining.IsRunning();
    const std::wstring title = std::wstring(kApplicationName) + L" (Version: " + NarrowToWide(kVersionText) + L") - " +
                               (mining ? L"State: Mining" : L"State: Idle");
    wchar_t present[200] = {};
    GetWindowTextW(Handle(), present, 200);
    if (title != present) SetWindowTextW(Handle(), title.c_str());
    std::wstring status = StatusText();
    if (status == m_status) return;
    m_status = std::move(status);
    InvalidateRect(Handle(), nullptr, TRUE);
}

void CMainWindow::OnPaint() {
    PAINTSTRUCT paint = {};
    const HDC device = BeginPaint(Handle(), &paint);
    RECT area = {};
    GetClientRect(Handle(), &area);
    const int margin = MulDiv(kMarginAt96Dpi, m_parts.folders.verticalPixelsPerInch, 96);
    InflateRect(&area, -margin, -margin);
    SetBkMode(device, TRANSPARENT);
    const HGDIOBJ previous = SelectObject(device, m_parts.folders.smallFont.get());
    std::wistringstream lines(m_status);
    for (std::wstring line; std::getline(lines, line); area.top += LineHeight(device))
        DrawColumns(device, line, area);
    SelectObject(device, previous);
    EndPaint(Handle(), &paint);
}
