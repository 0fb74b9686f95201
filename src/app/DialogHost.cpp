#include "app/DialogHost.h"

#include <shellapi.h>

#include <algorithm>
#include <utility>

#include "common/CodePage.h"
#include "common/IpAddress.h"
#include "common/SystemTime.h"
#include "common/Version.h"
#include "control/ControlSecurity.h"
#include "gui/DiagnosticsText.h"
#include "gui/LocalTimeText.h"
#include "toolkit/TaskDialog.h"

namespace {

// "Windows 10.0.19045"; empty when it cannot be told. GetVersionEx would name the version that the manifest asks for.
std::wstring SystemText() {
    using RtlGetVersionFunction = LONG(WINAPI*)(OSVERSIONINFOW*);
    void* const function = reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion"));
    const auto getVersion = reinterpret_cast<RtlGetVersionFunction>(function);
    OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof version;
    if (getVersion == nullptr || getVersion(&version) != 0) return {};
    std::wstring text = L"Windows " + std::to_wstring(version.dwMajorVersion);
    text.append(L".").append(std::to_wstring(version.dwMinorVersion));
    return text.append(L".").append(std::to_wstring(version.dwBuildNumber));
}

// What is to be said about the session and this GPU of it.
TimedMessage MessageOf(const CManagerCore& manager, const QvGpuRecord& gpu, const std::vector<PoolError>& lasting) {
    for (const PoolError& trouble : manager.Troubles()) {
        if (trouble.gpuIndex < 0) return {NarrowToWide(trouble.text), {}};
    }
    for (const PoolError& trouble : lasting) {
        if (trouble.gpuIndex == gpu.cudaId) return {NarrowToWide(trouble.text), {}};
    }
    const PoolPointer pool = manager.User().CurrentPool();
    if (!pool) return {};
    const PoolError error = pool->lastError.Get();
    return {NarrowToWide(error.text), error.time};
}

const wchar_t* AskerText(MiningAsker asker) {
    switch (asker) {
        case MiningAsker::User:
            return L" by the user";
        case MiningAsker::ProgramStart:
            return L" with the program";
        case MiningAsker::Controller:
            return L" by the controller";
        case MiningAsker::Pool:
            return L" by the pool";
        case MiningAsker::ProgramEnd:
            return L" with the end of the program";
        case MiningAsker::Unknown:
            break;
    }
    return L" by a message to the window";
}

}  // namespace

std::optional<MiningSessionView> CDialogHost::SessionOf(const QvGpuRecord& gpu) const {
    for (const auto& each : m_parts.mining.Managers()) {
        const CManagerCore& manager = each->Core();
        const std::vector<QvGpuRecord*>& gpus = manager.Gpus();
        if (std::find(gpus.begin(), gpus.end(), &gpu) == gpus.end()) continue;
        MiningSessionView view;
        view.state = SessionStateText(manager.State());
        view.message = MessageOf(manager, gpu, m_parts.troubles.Lasting());
        if (manager.HasFailed()) return view;
        view.role = manager.CurrentRole();
        const CStratumSession& session = manager.WorkSource();
        const JobInfo job = session.CurrentJob();
        view.job = {job.time, -1, job.id};
        view.difficulty = session.Difficulty();
        GpuActivity activity = manager.ActivityOf(gpu);
        activity.reason.clear();  // it stands in the message
        if (manager.State().phase == SessionPhase::Mining && activity.kind != GpuActivity::Kind::Hashing)
            view.state.append(L", GPU ").append(std::to_wstring(gpu.cudaId)).append(L" ").append(GpuActivityText(activity));
        return view;
    }
    return std::nullopt;
}

std::vector<GpuTrouble> CDialogHost::TroubledGpus() const {
    std::vector<GpuTrouble> troubled;
    for (const PoolError& trouble : m_parts.troubles.Lasting()) {
        if (trouble.gpuIndex >= 0) troubled.push_back({trouble.gpuIndex, NarrowToWide(trouble.text)});
    }
    for (const auto& manager : m_parts.mining.Managers()) {
        const std::vector<PoolError> errors = manager->Core().Troubles();
        const auto ofSession = std::ranges::find_if(errors, [](const PoolError& error) { return error.gpuIndex < 0; });
        if (ofSession == errors.end()) continue;
        for (const QvGpuRecord* gpu : manager->Core().Gpus())
            troubled.push_back({gpu->cudaId, NarrowToWide(ofSession->text)});
    }
    return troubled;
}

MiningHealth CDialogHost::Health() const {
    const std::vector<GpuTrouble> troubled = TroubledGpus();
    if (troubled.empty()) return MiningHealth::Good;
    for (const auto& manager : m_parts.mining.Managers()) {
        for (const QvGpuRecord* gpu : manager->Core().Gpus()) {
            if (std::ranges::find(troubled, gpu->cudaId, &GpuTrouble::cudaId) == troubled.end())
                return MiningHealth::Impaired;
        }
    }
    return MiningHealth::Sick;
}

std::wstring CDialogHost::Diagnostics() const {
    const ConfigurationPointer configuration = m_parts.configuration.Current();
    const bool mining = IsRunning();
    const TimeSpan uptime = mining ? CurrentTime(TimeMode::Utc).ticks - m_miningStart.ticks : 0;
    const auto control = !IsControlOpen()                ? ControlState::Offline
                         : m_parts.control.IsConnected() ? ControlState::Connected
                                                         : ControlState::Listening;
    return DiagnosticsText({.version = NarrowToWide(kVersionText),
                            .system = SystemText(),
                            .driverVersion = m_parts.driverVersion,
                            .cudaVersion = m_parts.cudaVersion,
                            .gpus = m_parts.gpus,
                            .configuration = *configuration,
                            .algorithms = m_parts.algorithms,
                            .mining = mining,
                            .uptime = uptime,
                            .messages = m_parts.plugInLines.Lines(),
                            .events = m_parts.events.LatestLines(),
                            .controlState = control,
                            .dateTimeText = &LocalDateTimeText});
}

int CDialogHost::StartMining() {
    m_parts.miningStarts();
    const int result = m_parts.mining.Start(*m_parts.configuration.Current());
    const MiningAsker asker = std::exchange(m_asker, MiningAsker::Unknown);
    if (result != 0) return result;
    m_miningStart = CurrentTime(TimeMode::Utc);
    m_parts.events.Event(EventKind::Mining, L"", std::wstring(L"started") + AskerText(asker));
    // The PC must not fall asleep over its work.
    SetThreadExecutionState(ES_CONTINUOUS | ES_SYSTEM_REQUIRED);
    return 0;
}

void CDialogHost::StopMining() {
    const MiningAsker asker = std::exchange(m_asker, MiningAsker::Unknown);
    if (!IsRunning()) return;
    m_parts.events.Event(EventKind::Mining, L"", std::wstring(L"stopped") + AskerText(asker));
    m_parts.mining.Stop();
    SetThreadExecutionState(ES_CONTINUOUS);
    m_parts.miningStopped();
}

void CDialogHost::ShowEventLog() {
    m_parts.events.Flush();
    const auto result = reinterpret_cast<INT_PTR>(
        ShellExecuteW(nullptr, L"open", m_parts.eventLogFile.c_str(), nullptr, nullptr, SW_SHOWNORMAL));
    constexpr INT_PTR kWorked = 32;  // what is above it
    if (result <= kWorked)
        ShowTaskDialog(kApplicationName, L"The event log could not be opened: " + m_parts.eventLogFile,
                       TaskDialogIcon::Error);
}

std::wstring CDialogHost::ReplaceConfiguration(MinerConfiguration configuration) {
    std::wstring reason = m_parts.files.Replace(std::move(configuration));
    if (!reason.empty()) return reason;
    m_parts.events.Event(EventKind::Configuration, L"", L"changed in the window and saved");
    m_parts.configurationReplaced();
    return {};
}

LateFiles CDialogHost::RetryFiles() {
    const LateFiles late = m_parts.files.Retry();
    if (late.configuration) m_parts.configurationReplaced();
    return late;
}

// A refused token is no reason to open the channel to everybody: it stays closed.
std::wstring CDialogHost::OpenControl() {
    m_controlWanted = true;
    std::wstring trouble = TokenTrouble(m_parts.settings.ControlToken);
    if (trouble.empty()) {
        EndpointRecord endpoint;
        endpoint.address = m_parts.settings.HostIP;
        endpoint.port = m_parts.settings.HostPort;
        m_parts.control.Open(endpoint, m_parts.settings.ControlToken);
        if (!IsControlOpen()) trouble = L"Windows has no thread for the control channel; it stays closed";
    }
    if (!trouble.empty()) m_parts.events.Event(EventKind::Control, L"", trouble);
    return trouble;
}

void CDialogHost::CloseControl() {
    m_controlWanted = false;
    m_parts.control.Close();
}

DialogNote CDialogHost::ControlNote() const {
    if (!m_controlWanted) return {};
    const RuntimeSettings& settings = m_parts.settings;
    if (std::wstring trouble = TokenTrouble(settings.ControlToken); !trouble.empty()) return {std::move(trouble), true};
    if (const std::uint32_t error = m_parts.control.ListenError(); error != 0)
        return {ListenTrouble(settings.HostIP, settings.HostPort, error), true};
    const bool isSafe = IsLoopback(settings.HostIP) || !settings.ControlToken.empty();
    return {isSafe ? L"" : L"No password: anybody in the network can steer this miner", false};
}
