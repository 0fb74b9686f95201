#include "app/QuorvelMinerApp.h"

#include <winsock2.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "app/DialogHost.h"
#include "common/CodePage.h"
#include "common/Guarded.h"
#include "common/Messages.h"
#include "common/SystemTime.h"
#include "common/Version.h"
#include "dialogs/QuorvelMinerDlg.h"
#include "dialogs/RunningInstance.h"
#include "dialogs/resource.h"
#include "gui/LocalTimeText.h"
#include "mining/AlgorithmEnumeration.h"
#include "net/Ping.h"
#include "toolkit/TaskDialog.h"

namespace {

std::wstring ComputerName() {
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD length = MAX_COMPUTERNAME_LENGTH + 1;
    return GetComputerNameW(name, &length) ? std::wstring(name, length) : std::wstring();
}

void MakeDpiAware() {
    using Function = BOOL(WINAPI*)();
    const HMODULE library = GetModuleHandleW(L"user32.dll");
    if (library == nullptr) return;
    const auto setAware = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, "SetProcessDPIAware")));
    if (setAware != nullptr) setAware();
}

// The text of a message without the tags that make links of parts of it.
std::wstring WithoutLinks(std::wstring text) {
    for (std::size_t start = text.find(L'<'); start != std::wstring::npos; start = text.find(L'<', start)) {
        const std::size_t end = text.find(L'>', start);
        if (end == std::wstring::npos) break;
        text.erase(start, end - start + 1);
    }
    return text;
}

// The event stays set, for a guard that has it open, when the process has gone.
void TellGuardOfClosing() {
    const HANDLE closing = CreateEventW(nullptr, TRUE, TRUE, kClosingEventName);
    if (closing != nullptr) SetEvent(closing);
    // cppcheck-suppress resourceLeak ; held until the process is gone
}

bool PingPool(const PoolEntry& pool, std::uint32_t& roundTrip) {
    PingReply reply;
    if (!CPing().Ping(pool.Server, reply)) return false;
    roundTrip = reply.roundTrip;
    return true;
}

std::wstring LeftOutText(const CAlgorithmList& algorithms) {
    std::wstring text;
    for (const LeftOutPlugIn& plugIn : algorithms.LeftOut())
        text.append(text.empty() ? L"" : L"; ").append(plugIn.fileName).append(L" left out: ").append(plugIn.reason);
    return text;
}

// For the event log; empty: every card of the configuration is there.
std::wstring AbsentText(const MinerConfiguration& configuration) {
    std::size_t absent = 0;
    for (const ConfigurationEntry& entry : configuration.configurations)
        absent += entry.absentGpus.size();
    for (const AbsentConfiguration& configured : configuration.absentConfigurations)
        absent += configured.entry.absentGpus.size();
    if (absent == 0) return {};
    return L"; " + std::to_wstring(absent) + L" GPUs of it are not in this machine now and stay in the file";
}

}  // namespace

CQuorvelMinerApp::CQuorvelMinerApp(DataFolder data, bool guarded, bool resume)
    : m_data(std::move(data)),
      m_guarded(guarded),
      m_resume(resume),
      m_hostName(ComputerName()),
      m_standingTrouble(m_troubles, m_events, [this](const PoolError& error) {
          if (m_control != nullptr) m_control->SendErrorReport(error);
      }) {}

CQuorvelMinerApp::~CQuorvelMinerApp() = default;

bool CQuorvelMinerApp::InitInstance() {
    CWinApp::InitInstance();
    if (!ClaimSingleInstance()) return false;
    MakeDpiAware();
    WSADATA winsock = {};
    WSAStartup(MAKEWORD(2, 2), &winsock);
    m_folders = SetUpFolders(m_data);
    m_events.Open(m_folders.logsFolder + kApplicationName + L"_events");
    m_eventLogFile = m_folders.logsFolder + kApplicationName + L"_events.log";
    m_events.Event(EventKind::Program, L"", L"started, version " + NarrowToWide(kVersionText));
    if (!m_folders.dataFolderNote.empty()) m_events.Event(EventKind::Program, L"", m_folders.dataFolderNote);
    m_settingsFile = std::make_unique<CRuntimeSettingsFile>(m_folders.settingsFolder);
    const FileLoad settingsLoad = m_settingsFile->Load(m_settings);
    OpenLogs();
    EnumerateAlgorithms(m_folders.algosFolder, m_folders.settingsFolder + L"PlugIns.txt", m_events, m_algorithms);
    if (!DiscoverGpus()) {
        m_exitCode = m_guarded ? kExitNoGpus : 0;
        return false;
    }
    TellStart();
    LoadConfiguration(settingsLoad);
    RunProgram();
    m_events.Event(EventKind::Program, L"", L"ended");
    return false;
}

bool CQuorvelMinerApp::ClaimSingleInstance() {
    m_instanceMutex = CreateMutexW(nullptr, TRUE, kApplicationName);
    // None at all: the one that runs was started as administrator.
    if (m_instanceMutex != nullptr && GetLastError() != ERROR_ALREADY_EXISTS) return true;
    if (m_instanceMutex != nullptr) CloseHandle(m_instanceMutex);
    m_instanceMutex = nullptr;
    m_exitCode = m_guarded ? kExitSecondInstance : 0;
    if (m_guarded) {
        AppendEvent((m_data.path + L"Logs\\" + kApplicationName + L"_events.log").c_str(), EventKind::Program, L"",
                    L"not started: another instance runs");
        return false;
    }
    ShowTaskDialog(kApplicationName, std::wstring(L"You can run only a single instance of '") + kApplicationName + L"'!",
                   TaskDialogIcon::Error);
    ShowRunningInstance();
    return false;
}

void CQuorvelMinerApp::OpenLogs() {
    m_mainLog.enabled = m_settings.MainLog;
    m_mainLog.CreateLogSystem((m_folders.logsFolder + kApplicationName).c_str(), 0);
    m_mainLog.LogFormat(LOG_SEVERITY_NORMAL, L"*** %s ***", kApplicationName);
    m_oldLogs.emplace(std::vector<std::filesystem::path>{m_folders.logsFolder, m_folders.minerLogsFolder},
                      m_settings.LogDays, m_events);
    m_oldLogs->Check(CurrentTime(TimeMode::Local));
}

bool CQuorvelMinerApp::DiscoverGpus() {
    m_cuda = std::make_unique<CCudaRuntime>(m_folders.installationFolder);
    m_nvml = std::make_shared<CNvml>(m_folders.installationFolder);
    m_discoveryPool = MakeUnassignedPool(m_algorithms);
    const auto showError = [this](const std::wstring& text) {
        m_events.Event(EventKind::Gpu, L"", WithoutLinks(text));
        if (!m_guarded) ShowTaskDialog(kApplicationName, text, TaskDialogIcon::Error);
    };
    m_gpus = std::make_unique<CManagerMinerGpus>(
        CManagerMinerGpus::Surroundings{*m_cuda, *m_nvml, m_mainLog, [this] { return m_discoveryPool.get(); }, showError});
    try {
        return m_gpus->Init() == 0;
    } catch (const std::runtime_error& error) {
        LogMain(NarrowToWide(error.what()).c_str());
        showError(NarrowToWide(error.what()));
        return false;
    }
}

void CQuorvelMinerApp::LoadConfiguration(const FileLoad& settingsLoad) {
    m_configuration = std::make_unique<CConfigurationStore>(m_folders.settingsFolder, m_algorithms, m_gpus->Gpus());
    m_files = std::make_unique<CUserFiles>(m_settings, *m_settingsFile, *m_configuration, m_standingTrouble);
    m_configuration->SetDefaultWorkerName(m_hostName);
    m_files->Load(settingsLoad, m_folders.dataFolderIsNew ? m_folders.dataFolderNote : std::wstring());
    CheckPlugIns();
    for (const auto& entry : m_configuration->Current()->configurations) {
        m_mainLog.LogFormat(LOG_SEVERITY_NORMAL, L"Configuration: %d GPUs on %s, backup %s",
                            static_cast<int>(entry.gpus.size()), entry.primaryPool->Name, entry.secondaryPool->Name);
    }
    m_events.Event(EventKind::Configuration, L"",
                   L"read: " + std::to_wstring(m_configuration->Current()->pools.size()) + L" pools, " +
                       std::to_wstring(m_configuration->Current()->configurations.size()) + L" configurations" +
                       AbsentText(*m_configuration->Current()));
}

void CQuorvelMinerApp::CheckPlugIns() {
    const ConfigurationPointer configuration = m_configuration->Current();
    std::wstring text;
    if (m_mining == nullptr || !m_mining->IsRunning()) {
        for (const PoolPointer& pool : configuration->pools) {
            const bool isUsed = std::ranges::any_of(configuration->configurations, [&](const ConfigurationEntry& entry) {
                return entry.primaryPool == pool || entry.secondaryPool == pool;
            });
            if (!isUsed || pool->algorithm->libraryPath[0] != L'\0') continue;
            text.append(text.empty() ? L"" : L"; ").append(pool->Name);
            text.append(L": no plug-in for algorithm ").append(std::to_wstring(pool->Algo));
        }
    }
    m_standingTrouble.Set(CStandingTrouble::Source::PlugIns, text);
}

std::wstring CQuorvelMinerApp::StartNote(const QvGpuRecord& gpu) const {
    if (gpu.cudaId < 0) return L", not used: CUDA does not offer it";
    if (gpu.nvmlDevice != nullptr) return {};
    return m_nvml->IsAvailable() ? L", used without telemetry: NVML does not know it"
                                 : L", used without telemetry: NVML is not available";
}

void CQuorvelMinerApp::TellStart() {
    const std::wstring driver = m_nvml->DriverVersion();
    m_events.Event(EventKind::Program, L"", L"driver " + (driver.empty() ? L"unknown" : driver));
    for (const QvGpuRecord* gpu : m_gpus->Gpus())
        m_events.Event(EventKind::Gpu, L"GPU " + std::to_wstring(gpu->cudaId), NarrowToWide(gpu->name) + StartNote(*gpu));
}

// Told to the controller each time, since each time it asked; the event log is spared one that does not stop asking.
void CQuorvelMinerApp::NothingToMine() {
    const PoolError error =
        ErrorOf({TroubleCode::MiningStopped, -1, L"There is nothing to mine: no GPU and pool are configured", true},
                SystemClock().UtcNow());
    m_troubles.SetStopped(error);
    m_control->SendErrorReport(error);
    const CLineBudget::Verdict verdict = m_nothingToMineLines.Take(SystemClock().Monotonic());
    if (!verdict.write) return;
    std::wstring text = NarrowToWide(error.text);
    if (verdict.left != 0) text.append(L" (asked for ").append(std::to_wstring(verdict.left)).append(L" times before, too)");
    m_events.Event(EventKind::Mining, L"", text);
}

void CQuorvelMinerApp::MiningStarts() {
    m_standingTrouble.Set(CStandingTrouble::Source::PlugIns, {});
    m_plugInMessages.Clear();
    if (const auto stopped = m_troubles.ClearStopped())
        m_control->SendErrorReport(OverError(*stopped, SystemClock().UtcNow()));
}

void CQuorvelMinerApp::RunProgram() {
    m_miningContext = std::make_unique<MiningContext>(MiningContext{
        .algorithms = m_algorithms,
        .stratumHost = *this,
        .clock = SystemClock(),
        .mainLog = m_mainLog,
        .events = m_events,
        .troubles = m_troubles,
        .plugInMessages = m_plugInMessages,
        .connectionLogFolder = m_folders.minerLogsFolder,
        .connectionLog = m_settings.ConnectionLog != 0,
        .feePools = [this](std::int32_t algorithmId) { return BuildFeePools(algorithmId, m_algorithms, m_feePoolIds); },
        .ping = &PingPool});
    m_mining = std::make_unique<CMining>(*m_miningContext);
    m_telemetry = std::make_unique<CTelemetryReader>(
        m_gpus->Gpus(), m_nvml, SystemClock(),
        [this](const QvGpuRecord& gpu, SensorState state) { SensorsChanged(gpu, state); });
    m_controlHost = std::make_unique<CControlHost>(CControlHost::Parts{.configuration = *m_configuration,
                                                                       .files = *m_files,
                                                                       .mining = *m_mining,
                                                                       .gpus = m_gpus->Gpus(),
                                                                       .hostName = m_hostName,
                                                                       .mainWindow = m_mainWindow,
                                                                       .log =
                                                                           [this](const std::wstring& text) {
                                                                               LogMain(text.c_str());
                                                                               m_events.Event(EventKind::Control, L"", text);
                                                                           },
                                                                       .troubles = m_troubles,
                                                                       .events = m_events,
                                                                       .configurationReplaced = [this] { CheckPlugIns(); }});
    m_control = std::make_unique<CSocketMiner>(*m_controlHost);
    // A guard tries again when there was no window: what it lacked may be there then.
    if (RunDialog()) TellGuardOfClosing();
    m_control->Close();
    m_mining->Stop();
}

// False: the window could not be made, and whoever is there was told.
bool CQuorvelMinerApp::RunDialog() {
    CDialogHost host({.settings = m_settings,
                      .files = *m_files,
                      .trouble = m_standingTrouble,
                      .configuration = *m_configuration,
                      .algorithms = m_algorithms,
                      .mining = *m_mining,
                      .control = *m_control,
                      .gpus = m_gpus->Gpus(),
                      .hostName = m_hostName,
                      .cudaVersion = m_cuda->DriverVersion(),
                      .driverVersion = m_nvml->DriverVersion(),
                      .plugInLines = m_plugInLines,
                      .troubles = m_troubles,
                      .events = m_events,
                      .eventLogFile = m_eventLogFile,
                      .leftOutPlugIns = LeftOutText(m_algorithms),
                      .resume = m_resume,
                      .nothingToMine = [this] { NothingToMine(); },
                      .miningStarts = [this] { MiningStarts(); },
                      .miningStopped = [this] { CheckPlugIns(); },
                      .configurationReplaced = [this] { CheckPlugIns(); },
                      .requestTelemetry =
                          [this] {
                              m_telemetry->Request();
                              m_oldLogs->Check(CurrentTime(TimeMode::Local));  // as good a moment as any: every five seconds
                          }});
    CXTPPaintManager paint;
    CThemeManager themes(paint, m_folders.installationFolder);
    CQuorvelMinerDlg dialog(host, {.themes = themes,
                                   .icon = LoadIconW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDI_APPLICATION_ICON)),
                                   .largeFont = m_folders.largeFont.get(),
                                   .smallFont = m_folders.smallFont.get(),
                                   .gridFont = m_folders.textFont.get(),
                                   .windowChanged = [this](HWND window) { m_mainWindow = window; }});
    m_pMainWnd = &dialog;
    const INT_PTR result = dialog.DoModal(nullptr);
    const DWORD error = GetLastError();
    m_pMainWnd = nullptr;
    if (result != -1) return true;
    const std::wstring text = L"The window could not be made (Windows error " + std::to_wstring(error) + L").";
    LogMain(text.c_str());
    m_events.Event(EventKind::Program, L"", text);
    m_exitCode = kExitNoWindow;
    if (!m_guarded) ShowTaskDialog(kApplicationName, text, TaskDialogIcon::Error);
    return false;
}

int CQuorvelMinerApp::ExitInstance() {
    if (m_instanceMutex != nullptr) {
        if (m_files != nullptr) {
            m_files->SaveAtExit(m_events);
        } else {
            m_settingsFile->Save(m_settings, Patience::OneSecond);
        }
        WSACleanup();
        ReleaseMutex(m_instanceMutex);
    }
    return m_exitCode;
}

void CQuorvelMinerApp::LogMain(const wchar_t* text) {
    m_mainLog.LogFormat(LOG_SEVERITY_NORMAL, L"%s", text);
}

void CQuorvelMinerApp::LogPlugIn(const wchar_t* text) {
    LogMain(text);
    m_plugInMessages.Add(text, SystemClock().Monotonic());
    m_plugInLines.Add(LocalDateTimeText(CurrentTime(TimeMode::Utc)) + L"  " + text);
}

void CQuorvelMinerApp::SensorsChanged(const QvGpuRecord& gpu, SensorState state) {
    // The start has said that NVML does not know it.
    if (state == SensorState::Lost && gpu.nvmlDevice == nullptr) return;
    const wchar_t* const text = state == SensorState::Silent ? L"the driver does not answer; its sensors are not read"
                                : state == SensorState::Lost ? L"the driver answers no query; trying again"
                                                             : L"the driver answers again";
    const std::wstring name = L"GPU " + std::to_wstring(gpu.cudaId);
    const std::wstring line = name + L": " + text;
    m_mainLog.LogFormat(LOG_SEVERITY_NORMAL, L"%s", line.c_str());
    m_events.Event(EventKind::Gpu, name, text);
    if (gpu.cudaId < 0) return;  // nothing is amiss with mining
    const ddt_datetime now = SystemClock().UtcNow();
    const auto told = m_sensorTroubles.find(gpu.cudaId);
    if (told != m_sensorTroubles.end()) {
        m_troubles.Remove(told->second);
        m_control->SendErrorReport(OverError(told->second, now));
        m_sensorTroubles.erase(told);
    }
    if (state == SensorState::Answering) return;
    const PoolError error = ErrorOf({TroubleCode::GpuSilent, gpu.cudaId, line, true}, now);
    m_sensorTroubles[gpu.cudaId] = error;
    m_troubles.Add(error);
    m_control->SendErrorReport(error);
}

CMiningStatistics* CQuorvelMinerApp::FindStatistics(std::int32_t cudaId) {
    for (QvGpuRecord* gpu : m_gpus->Gpus()) {
        if (gpu->cudaId == cudaId) return &gpu->statistics;
    }
    return nullptr;
}

void CQuorvelMinerApp::PoolErrorHappened(const PoolError& error) {
    LogPoolError(error);
    m_control->SendErrorReport(error);
}

void CQuorvelMinerApp::LogPoolError(const PoolError& error) {
    const CLineBudget::Verdict verdict = m_poolErrorLines.Take(SystemClock().Monotonic());
    if (!verdict.write) return;
    std::wstring text = NarrowToWide(error.text);
    std::replace_if(
        text.begin(), text.end(), [](wchar_t c) { return c < L' ' || c == L'\x7F'; }, L' ');
    if (verdict.left != 0) {
        m_mainLog.LogFormat(LOG_SEVERITY_NORMAL, L"%u messages of pools were left out before the next", verdict.left);
    }
    m_mainLog.LogFormat(LOG_SEVERITY_NORMAL, L"Pool error %d: %s", error.code, text.c_str());
}

void CQuorvelMinerApp::RequestStopMining(const std::string& reason) {
    const PoolError error =
        ErrorOf({TroubleCode::MiningStopped, -1, NarrowToWide("Mining was stopped by the pool: " + reason), true},
                SystemClock().UtcNow());
    m_troubles.SetStopped(error);
    m_events.Event(EventKind::Mining, L"", NarrowToWide(error.text));
    PoolErrorHappened(error);
    const HWND window = m_mainWindow;
    if (window != nullptr) PostMessageW(window, kMessageMining, 0, static_cast<LPARAM>(MiningAsker::Pool));
}

std::wstring CQuorvelMinerApp::DefaultWorkerName() {
    return m_configuration->Current()->DefaultWorkerName;
}
