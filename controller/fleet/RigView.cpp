#include "fleet/RigView.h"

#include <algorithm>

namespace {

void AddTo(std::optional<double>& sum, const std::optional<double>& value) {
    if (value) sum = sum.value_or(0) + *value;
}

void RaiseTo(std::optional<double>& highest, const std::optional<double>& value) {
    if (value) highest = std::max(highest.value_or(*value), *value);
}

std::optional<double> AsDouble(const std::optional<std::uint64_t>& number) {
    if (!number) return std::nullopt;
    return static_cast<double>(*number);
}

}  // namespace

MiningStatus RigView::Status() const {
    if (!IsUp() || !system) return MiningStatus::Unknown;
    return update ? update->status : system->status;
}

RigState RigView::State() const {
    if (!IsUp() || !system) return RigState::Unknown;
    return StateOf(&*system, update ? &*update : nullptr, troubles);
}

const UpdateReport* RigView::Fresh(std::chrono::steady_clock::time_point now) const {
    return IsUp() && update && now - updateTime < kFreshFor ? &*update : nullptr;
}

RigSums SumsOf(const RigView& rig, std::chrono::steady_clock::time_point now) {
    RigSums sums;
    if (rig.system) sums.gpus = rig.system->gpus.size();
    if (rig.update) sums.gpus = std::max(sums.gpus, rig.update->gpus.size());
    const UpdateReport* const fresh = rig.Fresh(now);
    if (!fresh) return sums;
    for (const GpuDynamic& gpu : fresh->gpus) {
        if (fresh->status == MiningStatus::Mining) AddTo(sums.hashRate, AsDouble(gpu.hashSpeed));
        RaiseTo(sums.temperature, AsDouble(gpu.temperature));
        AddTo(sums.power, AsDouble(gpu.power));
        sums.accepted += gpu.accepted.value_or(0);
        sums.stale += gpu.stale.value_or(0);
        sums.rejected += gpu.rejected.value_or(0);
    }
    return sums;
}

FleetSums SumsOf(const std::vector<const RigView*>& rigs, std::chrono::steady_clock::time_point now) {
    FleetSums sums;
    sums.rigs = rigs.size();
    for (const RigView* const rig : rigs) {
        if (rig->IsUp()) ++sums.up;
        if (rig->State() == RigState::Mining) ++sums.mining;
        if (!rig->troubles.IsEmpty()) ++sums.trouble;
        const RigSums one = SumsOf(*rig, now);
        sums.all.gpus += one.gpus;
        AddTo(sums.all.hashRate, one.hashRate);
        RaiseTo(sums.all.temperature, one.temperature);
        AddTo(sums.all.power, one.power);
        sums.all.accepted += one.accepted;
        sums.all.stale += one.stale;
        sums.all.rejected += one.rejected;
    }
    return sums;
}
