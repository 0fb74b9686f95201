#include "gui/DiagnosticsText.h"

#include <algorithm>

#include "common/CodePage.h"
#include "common/Hex.h"
#include "common/Version.h"
#include "config/PoolTarget.h"
#include "gui/ConfigurationEditModel.h"
#include "gui/DialogState.h"
#include "gui/GpuText.h"
#include "gui/UnitText.h"

namespace {

// A shorter password may stand in any text by chance, as the usual "x" does.
constexpr std::size_t kShortestHidden = 4;

constexpr std::wstring_view kLineEnd = L"\r\n";

std::wstring OrUnknown(const std::wstring& text) {
    return text.empty() ? L"unknown" : text;
}

void ReplaceAll(std::wstring& text, std::wstring_view what, std::wstring_view with) {
    if (what.size() < kShortestHidden) return;
    for (std::size_t at = text.find(what); at != std::wstring::npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
}

std::wstring WithoutSecrets(std::wstring text, const PoolEntry& pool) {
    ReplaceAll(text, pool.WalletUser, ShortenedWallet(pool.WalletUser));
    ReplaceAll(text, pool.Password, L"***");
    return text;
}

class CDiagnosticsWriter {
  public:
    explicit CDiagnosticsWriter(const DiagnosticsInput& input) : m_input(input) {}

    std::wstring Write() {
        WriteProgram();
        Line({});
        Line(L"GPUs:");
        if (m_input.gpus.empty()) Line(L"  none");
        for (const QvGpuRecord* gpu : m_input.gpus)
            WriteGpu(*gpu);
        Line({});
        Line(L"Pools:");
        if (m_input.configuration.pools.empty()) Line(L"  none");
        for (const PoolPointer& pool : m_input.configuration.pools)
            WritePool(*pool);
        Line({});
        Line(L"Configurations:");
        WriteConfigurations();
        Line({});
        Line(L"Plug-ins:");
        WritePlugIns();
        Line({});
        Line(L"Latest messages of the plug-ins:");
        if (m_input.messages.empty()) Line(L"  none");
        for (const std::wstring& message : m_input.messages)
            Line(L"  " + message);
        Line({});
        Line(L"Latest events:");
        if (m_input.events.empty()) Line(L"  none");
        for (const std::wstring& event : m_input.events)
            Line(L"  " + WithoutSecrets(event));
        return std::move(m_text);
    }

  private:
    void Line(std::wstring_view text) { m_text.append(text).append(kLineEnd); }

    void WriteProgram() {
        Line(std::wstring(kApplicationName).append(L" ").append(m_input.version));
        Line(L"System: " + OrUnknown(m_input.system));
        const auto cuda = m_input.cudaVersion;
        const std::wstring cudaText =
            cuda == 0 ? L"none" : std::to_wstring(cuda / 1000).append(L".").append(std::to_wstring(cuda % 1000 / 10));
        Line(L"Driver: " + OrUnknown(m_input.driverVersion) + L", CUDA " + cudaText);
        Line(MiningStateLook(m_input.mining).text + (m_input.mining ? L" for " + SpanText(m_input.uptime) : L""));
        Line(L"Control " + ControlStateLook(static_cast<std::uint32_t>(m_input.controlState), 0).text);
        Line(std::wstring(L"Worker: ").append(m_input.configuration.DefaultWorkerName));
    }

    void WriteGpu(const QvGpuRecord& gpu) {
        std::wstring line = L"  GPU#" + std::to_wstring(gpu.cudaId) + L" " + GpuTypeText(gpu);
        line.append(L", compute capability ").append(CapabilityText(gpu));
        line.append(L", UUID ").append(NarrowToWide(HexText(std::span(gpu.uuid, QV_UUID_BYTES))));
        Line(line);
        Line(L"    " + ShareCountsText(ReadGpuCounters(gpu)));
    }

    void WritePool(const PoolEntry& pool) {
        std::wstring line = std::wstring(L"  ").append(pool.Name).append(L": ").append(PoolAddressText(pool));
        line.append(L", ").append(AlgorithmText(pool.Algo, m_input.algorithms));
        line.append(L", wallet ").append(ShortenedWallet(pool.WalletUser));
        if (pool.WorkerOverride[0] != L'\0') line.append(L", worker ").append(pool.WorkerOverride);
        Line(line);
        const PoolError error = pool.lastError.Get();
        if (error.time.IsSet()) Line(L"    Last error: " + ErrorText(error, pool));
    }

    std::wstring WithoutSecrets(std::wstring text) const {
        for (const PoolPointer& pool : m_input.configuration.pools)
            text = ::WithoutSecrets(std::move(text), *pool);
        return text;
    }

    std::wstring ErrorText(const PoolError& error, const PoolEntry& pool) const {
        std::wstring text = m_input.dateTimeText(error.time).append(L", code ").append(std::to_wstring(error.code));
        if (error.gpuIndex >= 0) text.append(L", GPU#").append(std::to_wstring(error.gpuIndex));
        return text.append(L": ").append(::WithoutSecrets(NarrowToWide(error.text), pool));
    }

    void WriteConfigurations() {
        // As the user sees and numbers them, those without a present GPU among them.
        const EditedConfiguration edited = MakeEditedCopy(m_input.configuration);
        if (edited.entries.empty()) Line(L"  none");
        for (std::size_t i = 0; i < edited.entries.size(); ++i) {
            const PoolEntry* const primary = FindEditedPool(edited, edited.entries[i].primaryPoolId);
            const PoolEntry* const backup = FindEditedPool(edited, edited.entries[i].secondaryPoolId);
            std::wstring line = L"  " + EntryLabel(edited, i) + L": " + (primary != nullptr ? primary->Name : L"no pool");
            if (backup != nullptr && !backup->IsUnassigned()) line.append(L", backup ").append(backup->Name);
            Line(line);
        }
    }

    void WritePlugIns() {
        const auto& entries = m_input.algorithms.Entries();
        if (entries.empty()) Line(L"  none");
        for (const auto& entry : entries)
            Line(L"  " + AlgorithmText(entry->record.id, m_input.algorithms));
    }

    const DiagnosticsInput& m_input;
    std::wstring m_text;
};

}  // namespace

std::wstring ShortenedWallet(std::wstring_view wallet) {
    if (wallet.empty()) return L"none";
    const std::size_t quarter = wallet.size() / 4;
    const std::size_t front = std::min<std::size_t>(quarter, 6);
    const std::size_t back = std::min<std::size_t>(quarter, 4);
    return std::wstring(wallet.substr(0, front)).append(L"...").append(wallet.substr(wallet.size() - back));
}

std::wstring DiagnosticsText(const DiagnosticsInput& input) {
    return CDiagnosticsWriter(input).Write();
}
