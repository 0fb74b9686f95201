#pragma once
#include <atomic>
#include <functional>
#include <string>
#include "app/UserFiles.h"
#include "control/SocketMiner.h"
#include "dialogs/MainDialogHost.h"
#include "mining/Mining.h"
#include "support/EventLog.h"
#include "support/RecentLines.h"

// What the main dialog has done by the program. GUI thread.
class CDialogHost final : public IMainDialogHost {
  public:
    struct Parts {
        RuntimeSettings& settings;
        CUserFiles& files;
        CStandingTrouble& trouble;
        CConfigurationStore& configuration;
        const CAlgorithmList& algorithms;
        CMining& mining;
        CSocketMiner& control;
        GpuSpan gpus;
        const std::wstring& hostName;
        std::int32_t cudaVersion = 0;  // 1000 * major + 10 * minor
        std::wstring driverVersion;    // empty: unknown
        const CRecentLines& plugInLines;
        const CTroubleBoard& troubles;
        CEventLog& events;
        const std::wstring& eventLogFile;
        std::wstring leftOutPlugIns = {};
        bool resume = false;
        std::function<void()> nothingToMine;
        std::function<void()> miningStarts;  // before it does
        std::function<void()> miningStopped;
        std::function<void()> configurationReplaced;
        std::function<void()> requestTelemetry;
    };
    explicit CDialogHost(const Parts& parts) : m_parts(parts) {}

    bool IsRunning() const override { return m_parts.mining.IsRunning(); }
    std::optional<MiningSessionView> SessionOf(const QvGpuRecord& gpu) const override;
    std::vector<GpuTrouble> TroubledGpus() const override;
    MiningHealth Health() const override;

    RuntimeSettings& Settings() override { return m_parts.settings; }
    void SaveSettings() override { m_parts.files.SaveSettings(); }
    void SaveConfiguration() override { m_parts.files.SaveConfiguration(); }
    LateFiles RetryFiles() override;
    std::wstring LoadMessage() const override { return m_parts.files.LoadMessage(); }
    TimedMessage StandingMessage() const override { return m_parts.trouble.Latest(); }
    std::wstring ReplaceConfiguration(MinerConfiguration configuration) override;
    CConfigurationStore& Configuration() override { return m_parts.configuration; }
    const CAlgorithmList& Algorithms() const override { return m_parts.algorithms; }
    GpuSpan Gpus() const override { return m_parts.gpus; }
    const std::wstring& HostName() const override { return m_parts.hostName; }
    std::wstring Diagnostics() const override;

    void MiningAsked(MiningAsker asker) override { m_asker = asker; }
    void NothingToMine() override { m_parts.nothingToMine(); }
    void ShowEventLog() override;
    std::wstring LeftOutPlugIns() const override { return m_parts.leftOutPlugIns; }
    bool Resumes() const override { return m_parts.resume; }
    int StartMining() override;
    void StopMining() override;
    ddt_datetime MiningStart() const override { return m_miningStart; }
    void ReadTelemetry() override { m_parts.requestTelemetry(); }

    std::wstring OpenControl() override;
    void CloseControl() override;
    bool IsControlOpen() const override { return m_parts.control.IsOpen(); }
    DialogNote ControlNote() const override;
    void SendUpdateReport() override { m_parts.control.SendUpdateReport(); }

  private:
    const Parts m_parts;
    MiningAsker m_asker = MiningAsker::Unknown;
    ddt_datetime m_miningStart;
    bool m_controlWanted = false;  // from OpenControl to CloseControl, whatever came of it
};
