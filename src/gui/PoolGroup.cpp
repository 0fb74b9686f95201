#include "gui/PoolGroup.h"

#include "common/CodePage.h"
#include "config/PoolTarget.h"
#include "gui/GpuGroup.h"
#include "gui/GpuText.h"
#include "gui/UnitText.h"

namespace {

std::optional<LabelLook> RoleLook(PoolRole role) {
    switch (role) {
        case PoolRole::Primary:
            return LabelLook{L"Primary", kGreen};
        case PoolRole::Backup:
            return LabelLook{L"Backup", kGreen};
        case PoolRole::Fee:
        case PoolRole::FeeBackup:
            return LabelLook{L"DEV", kBlue};
        default:
            return std::nullopt;
    }
}

std::wstring JobText(const MiningJob& job, TimeTextFunction timeText) {
    if (job.id.empty()) return {};
    std::wstring text = timeText(job.time);
    if (job.gpuNumber >= 0) text.append(L" (GPU#").append(std::to_wstring(job.gpuNumber)).append(L")");
    return text.append(L": ").append(NarrowToWide(job.id));
}

TimedMessage PoolMessage(const PoolGroupInput& input) {
    if (input.session && !input.session->message.text.empty()) return input.session->message;
    if (input.pool == nullptr || input.pool->IsUnassigned()) return {};
    const PoolError error = input.pool->lastError.Get();
    return {NarrowToWide(error.text), error.time};
}

// In minutes, so that the text stays still for whoever copies it.
std::wstring Aged(const TimedMessage& message, ddt_datetime now) {
    constexpr std::int64_t kMinutesOfHour = 60;
    const std::int64_t minutes = (now.ticks - message.time.ticks) / kTicksPerMinute;
    if (message.text.empty() || !message.time.IsSet() || minutes < 1) return message.text;
    std::wstring age = std::to_wstring(minutes % kMinutesOfHour) + L" min ago)";
    if (minutes >= kMinutesOfHour) age = std::to_wstring(minutes / kMinutesOfHour) + L" h " + age;
    return message.text + L" (" + age;
}

// What holds now, else what was said last.
std::wstring Message(const PoolGroupInput& input) {
    const TimedMessage pool = PoolMessage(input);
    if (pool.text.empty() ||
        (pool.time.IsSet() && !input.standingMessage.text.empty() && pool.time < input.standingMessage.time))
        return Aged(input.standingMessage, input.now);
    return Aged(pool, input.now);
}

void FillSession(const MiningSessionView& session, const PoolGroupInput& input, PoolGroup& group) {
    group.hasSession = session.role.has_value();
    if (session.role) group.role = RoleLook(*session.role);
    group.state = session.state;
    group.job = JobText(session.job, input.timeText);
    group.difficulty = DifficultyText(session.difficulty, input.unit);
}

}  // namespace

PoolGroup MakePoolGroup(const PoolGroupInput& input) {
    PoolGroup group;
    group.connection = input.mining ? LabelLook{L"Connected", kGreen} : LabelLook{L"Not connected", kRed};
    group.message = Message(input);
    if (input.pool == nullptr) return group;
    group.name = input.pool->Name;
    if (!input.pool->IsUnassigned()) group.server = PoolAddressText(*input.pool);
    if (input.sums) {
        group.hashRate = HashRateText(input.sums->hashSpeed, input.unit);
        group.shares = ShareCountsText(*input.sums);
        group.lastShare = LastShareText(input.sums->lastShare, input.now);
    }
    if (input.session) FillSession(*input.session, input, group);
    return group;
}

PoolGroup MakePoolGroup(const GpuGridSource& source, const QvGpuRecord* gpu, const IMiningView& mining,
                        TimeTextFunction timeText, TimedMessage standingMessage) {
    PoolGroupInput input;
    input.standingMessage = std::move(standingMessage);
    input.mining = mining.IsRunning();
    input.now = source.now;
    input.timeText = timeText;
    if (gpu == nullptr) return MakePoolGroup(input);
    const PoolPointer pool = FindGpuPool(source.configuration, *gpu, source.unassignedPool);
    input.pool = pool.get();
    input.unit = PoolUnit(*pool, source.algorithms);
    const ConfigurationEntry* entry = FindGpuConfiguration(source.configuration, *gpu);
    if (entry != nullptr) input.sums = SumGpuCounters(entry->gpus);
    input.session = mining.SessionOf(*gpu);
    return MakePoolGroup(input);
}
