#include "rig/TroubleList.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "common/TroubleCode.h"

namespace {

// A miner cuts texts at 511 bytes, and so the end of a long one behind the prefix of its "Over".
constexpr std::size_t kMayBeCut = 480;

constexpr TroubleKind kKinds[] = {
    {CodeNumber(TroubleCode::NotConnected), "not_connected"},
    {CodeNumber(TroubleCode::HostNotFound), "host_not_found"},
    {CodeNumber(TroubleCode::ConnectionLost), "connection_lost"},
    {CodeNumber(TroubleCode::NoLoginAnswer), "no_login_answer"},
    {CodeNumber(TroubleCode::LoginRefused), "login_refused"},
    {CodeNumber(TroubleCode::NoProtocol), "no_protocol"},
    {CodeNumber(TroubleCode::NoJob), "no_job"},
    {CodeNumber(TroubleCode::PoolSilent), "pool_silent"},
    {CodeNumber(TroubleCode::SharesUnanswered), "shares_unanswered"},
    {CodeNumber(TroubleCode::PlugInMissing), "plug_in_missing"},
    {CodeNumber(TroubleCode::GpuNotHashing), "gpu_not_hashing"},
    {CodeNumber(TroubleCode::GpuSilent), "gpu_silent"},
    {CodeNumber(TroubleCode::MiningStopped), "mining_stopped"},
    {CodeNumber(TroubleCode::FileTrouble), "file_trouble"},
    {CodeNumber(TroubleCode::NotTrusted), "not_trusted"},
};

bool IsOwn(std::int64_t code) noexcept {
    const auto narrow = static_cast<std::int32_t>(code);
    return narrow == code && IsOwnCode(narrow);
}

// "GPU 3 is not hashing": 3.
std::optional<std::uint64_t> GpuOf(std::string_view text) noexcept {
    constexpr std::string_view kPrefix = "GPU ";
    if (!text.starts_with(kPrefix)) return std::nullopt;
    text.remove_prefix(kPrefix.size());
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc()) return std::nullopt;
    const bool isNumber = end == text.data() + text.size() || std::isalnum(static_cast<unsigned char>(*end)) == 0;
    return isNumber ? std::optional(number) : std::nullopt;
}

bool Hashes(const GpuDynamic& gpu) noexcept {
    return gpu.hashSpeed.value_or(0) > 0;
}

bool IsEachGpuInTrouble(const SystemReport* system, const UpdateReport* update, const CTroubleList& troubles) {
    if (!system || system->gpus.empty() || (update && IsHashing(*update))) return false;
    return std::ranges::all_of(system->gpus,
                               [&](const GpuStatic& gpu) { return gpu.cudaId && troubles.IsAboutGpu(*gpu.cudaId); });
}

}  // namespace

std::span<const TroubleKind> TroubleKinds() noexcept {
    return kKinds;
}

void CTroubleList::Apply(const SystemReport&) {
    for (Entry& entry : m_entries)
        entry.isTold = false;
}

bool CTroubleList::Apply(const ErrorReport& report) {
    if (!IsOwn(report.code)) return false;
    if (report.code == CodeNumber(TroubleCode::Over)) {
        std::string_view text = report.text;
        if (text.starts_with(kOverPrefix)) text.remove_prefix(kOverPrefix.size());
        End(text);
        return true;
    }
    const auto known = std::ranges::find_if(m_entries, [&](const Entry& entry) {
        return entry.trouble.code == report.code && entry.trouble.text == report.text;
    });
    if (known != m_entries.end()) {
        known->trouble.since = report.time;
        known->isTold = true;
        return true;
    }
    if (m_entries.size() == kMaxKept) m_entries.erase(m_entries.begin());
    m_entries.push_back({{report.code, report.time, GpuOf(report.text), report.text}, true});
    return true;
}

void CTroubleList::End(std::string_view text) {
    const auto isSame = [&](const Entry& entry) { return entry.trouble.text == text; };
    if (std::erase_if(m_entries, isSame) > 0 || text.size() < kMayBeCut) return;
    std::erase_if(m_entries, [&](const Entry& entry) { return entry.trouble.text.starts_with(text); });
}

void CTroubleList::Settle() {
    std::erase_if(m_entries, [](const Entry& entry) { return !entry.isTold; });
}

std::vector<Trouble> CTroubleList::All() const {
    std::vector<Trouble> all;
    all.reserve(m_entries.size());
    for (const Entry& entry : m_entries)
        all.push_back(entry.trouble);
    return all;
}

bool CTroubleList::IsRigWide() const {
    // A rig mines on with trouble of its files.
    return std::ranges::any_of(m_entries, [](const Entry& entry) {
        return !entry.trouble.gpu && entry.trouble.code != CodeNumber(TroubleCode::FileTrouble);
    });
}

bool CTroubleList::IsAboutGpu(std::uint64_t cudaId) const {
    return std::ranges::any_of(m_entries, [&](const Entry& entry) { return entry.trouble.gpu == cudaId; });
}

std::size_t CTroubleList::CountOf(std::int64_t code) const {
    return static_cast<std::size_t>(
        std::ranges::count_if(m_entries, [&](const Entry& entry) { return entry.trouble.code == code; }));
}

std::string CTroubleList::Text() const {
    std::string text;
    for (const Entry& entry : m_entries)
        text += (text.empty() ? "" : "; ") + entry.trouble.text;
    return text;
}

const char* StateText(RigState state) noexcept {
    switch (state) {
        case RigState::Stopped:
            return "stopped";
        case RigState::Mining:
            return "mining";
        case RigState::Trouble:
            return "trouble";
        default:
            return "unknown";
    }
}

RigState StateOf(const SystemReport* system, const UpdateReport* update, const CTroubleList& troubles) {
    const MiningStatus status = update ? update->status : system ? system->status : MiningStatus::Unknown;
    if (status == MiningStatus::Unknown) return RigState::Unknown;
    if (status == MiningStatus::Stopped) return RigState::Stopped;
    return troubles.IsRigWide() || IsEachGpuInTrouble(system, update, troubles) ? RigState::Trouble : RigState::Mining;
}

bool IsHashing(const UpdateReport& update) noexcept {
    return update.status == MiningStatus::Mining && std::ranges::any_of(update.gpus, Hashes);
}
