#include "app/DialogHost.h"

#include <algorithm>

#include "common/CodePage.h"
#include "common/SystemTime.h"
#include "common/Version.h"
#include "control/ControlSecurity.h"
#include "gui/DiagnosticsText.h"
#include "gui/LocalTimeText.h"

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

}  // namespace

std::optional<MiningSessionView> CDialogHost::SessionOf(const QvGpuRecord& gpu) const {
    for (const auto& manager : m_parts.mining.Managers()) {
        const std::vector<QvGpuRecord*>& gpus = manager->Gpus();
        if (manager->HasFailed() || std::find(gpus.begin(), gpus.end(), &gpu) == gpus.end()) continue;
        const bool fee = manager->CurrentMode() == CMiningManager::Mode::Fee;
        const CMiningStratum& session = fee ? manager->FeeSession() : manager->UserSession();
        const JobInfo job = session.CurrentJob();
        return MiningSessionView{
            static_cast<MiningRole>(manager->CurrentRole()), {job.time, -1, job.id}, session.Difficulty()};
    }
    return std::nullopt;
}

std::wstring CDialogHost::Diagnostics() const {
    const ConfigurationPointer configuration = m_parts.configuration.Current();
    const bool mining = IsRunning();
    const TimeSpan uptime = mining ? CurrentTime(TimeMode::Utc).ticks - m_miningStart.ticks : 0;
    const std::uint32_t control = !IsControlOpen() ? 1U : m_parts.control.IsConnected() ? 3U : 2U;
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
                            .controlState = control,
                            .dateTimeText = &LocalDateTimeText});
}

int CDialogHost::StartMining() {
    const int result = m_parts.mining.Start(*m_parts.configuration.Current());
    if (result == 0) m_miningStart = CurrentTime(TimeMode::Utc);
    return result;
}

void CDialogHost::ReadTelemetry() {
    for (QvGpuRecord* gpu : m_parts.gpus)
        m_parts.updateTelemetry(*gpu);
}

void CDialogHost::OpenControl() {
    EndpointRecord endpoint;
    endpoint.address = m_parts.settings.HostIP;
    endpoint.port = m_parts.settings.HostPort;
    m_parts.control.Open(endpoint, m_parts.settings.ControlToken);
}

std::wstring CDialogHost::ControlWarning() const {
    const bool isSafe = IsLoopback(m_parts.settings.HostIP) || !m_parts.settings.ControlToken.empty();
    return isSafe ? std::wstring() : L" - no password: every machine in the network can control this miner";
}
