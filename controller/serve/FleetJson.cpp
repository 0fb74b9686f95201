#include "serve/FleetJson.h"

#include <algorithm>
#include <cmath>

#include "rig/GpuRows.h"
#include "rig/JsonText.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kTroublesInRow = 3;

const char* StateName(const RigView& rig) {
    switch (rig.link) {
        case LinkState::Up:
            return StateText(rig.State());
        case LinkState::Down:
            return "down";
        default:
            // A rig that is tried again after a failure is still down.
            return rig.reason.empty() ? "connecting" : "down";
    }
}

void WriteNumber(JsonWriter& json, const char* name, const std::optional<std::uint64_t>& number) {
    if (!number) return;
    json.Key(name);
    json.Uint64(*number);
}

void WriteSum(JsonWriter& json, const char* name, const std::optional<double>& number) {
    if (!number) return;
    json.Key(name);
    json.Double(std::round(*number));
}

void WriteSums(JsonWriter& json, const RigSums& sums) {
    WriteNumber(json, "gpuCount", sums.gpus);
    WriteSum(json, "hash", sums.hashRate);
    WriteSum(json, "temp", sums.temperature);
    WriteSum(json, "power", sums.power);
    WriteNumber(json, "ok", sums.accepted);
    WriteNumber(json, "stale", sums.stale);
    WriteNumber(json, "rejected", sums.rejected);
}

void WriteGpu(JsonWriter& json, const GpuRow& row) {
    json.StartObject();
    WriteMember(json, "id", row.id);
    if (row.fixed) {
        WriteMember(json, "model", row.fixed->model);
        WriteNumber(json, "index", row.fixed->cudaId);
        WriteNumber(json, "memTotal", row.fixed->memory);
    }
    if (row.live) {
        WriteMember(json, "state", row.live->status);
        WriteNumber(json, "hash", row.live->hashSpeed);
        WriteNumber(json, "ok", row.live->accepted);
        WriteNumber(json, "stale", row.live->stale);
        WriteNumber(json, "rejected", row.live->rejected);
        WriteNumber(json, "temp", row.live->temperature);
        WriteNumber(json, "fan", row.live->fan);
        WriteNumber(json, "power", row.live->power);
        WriteNumber(json, "core", row.live->coreClock);
        WriteNumber(json, "memClock", row.live->memoryClock);
        WriteNumber(json, "memUsed", row.live->memoryUsed);
    }
    json.EndObject();
}

// Rows show the first few; the time and the kind are for details.
void WriteTroubles(JsonWriter& json, const std::vector<Trouble>& troubles, bool detailed) {
    if (troubles.empty()) return;
    WriteNumber(json, "troubleCount", troubles.size());
    json.Key("troubles");
    json.StartArray();
    for (std::size_t i = 0; i < troubles.size() && (detailed || i < kTroublesInRow); ++i) {
        json.StartObject();
        WriteMember(json, "text", troubles[i].text);
        if (detailed) {
            WriteMember(json, "code", std::int64_t{troubles[i].code});
            WriteMember(json, "since", std::int64_t{UnixSeconds(troubles[i].since).value_or(0)});
            WriteNumber(json, "gpu", troubles[i].gpu);
        }
        json.EndObject();
    }
    json.EndArray();
}

void WriteDetails(JsonWriter& json, const RigView& rig) {
    json.Key("gpus");
    json.StartArray();
    for (const GpuRow& row : GpuRows(rig.system ? &*rig.system : nullptr, rig.Fresh(Clock::now())))
        WriteGpu(json, row);
    json.EndArray();
    json.Key("errors");
    json.StartArray();
    for (const ErrorReport& error : rig.errors) {
        json.StartObject();
        WriteMember(json, "time", std::int64_t{UnixSeconds(error.time).value_or(0)});
        WriteMember(json, "code", std::int64_t{error.code});
        WriteMember(json, "text", error.text);
        json.EndObject();
    }
    json.EndArray();
}

void WriteRig(JsonWriter& json, std::size_t index, const RigView& rig, bool detailed) {
    json.StartObject();
    WriteNumber(json, "rig", index);
    WriteMember(json, "address", rig.address.Text());
    WriteMember(json, "state", StateName(rig));
    if (!rig.reason.empty()) WriteMember(json, "reason", rig.reason);
    if (rig.system) {
        WriteMember(json, "host", rig.system->hostname);
        WriteMember(json, "version", rig.system->version);
    }
    json.Key("mines");
    json.Bool(rig.Status() == MiningStatus::Mining);
    WriteTroubles(json, rig.troubles.All(), detailed);
    WriteNumber(json, "errorCount", rig.errorCount);
    WriteSums(json, SumsOf(rig, Clock::now()));
    if (detailed) WriteDetails(json, rig);
    json.EndObject();
}

template <typename Member>
void WriteSeries(JsonWriter& json, const char* name, const std::vector<HistoryPoint>& points, Member member) {
    json.Key(name);
    json.StartArray();
    for (const HistoryPoint& point : points) {
        if (point.*member)
            json.Double(std::round(*(point.*member)));
        else
            json.Null();
    }
    json.EndArray();
}

std::string Text(const rapidjson::StringBuffer& buffer) {
    return std::string(buffer.GetString(), buffer.GetSize());
}

}  // namespace

std::string FleetJson(const CFleet& fleet, std::uint64_t after, std::span<const std::size_t> detailed) {
    rapidjson::StringBuffer buffer;
    JsonWriter json(buffer);
    const FleetSums sums = fleet.Sums();
    json.StartObject();
    WriteNumber(json, "rigCount", sums.rigs);
    WriteNumber(json, "up", sums.up);
    WriteNumber(json, "mining", sums.mining);
    WriteNumber(json, "trouble", sums.trouble);
    json.Key("sums");
    json.StartObject();
    WriteSums(json, sums.all);
    json.EndObject();
    json.Key("rigs");
    json.StartArray();
    for (std::size_t i = 0; i < fleet.Size(); ++i)
        if (fleet.Rig(i).revision >= after)
            WriteRig(json, i, fleet.Rig(i), std::find(detailed.begin(), detailed.end(), i) != detailed.end());
    json.EndArray();
    json.EndObject();
    return Text(buffer);
}

std::string HistoryJson(const CHistory& history) {
    rapidjson::StringBuffer buffer;
    JsonWriter json(buffer);
    const std::vector<HistoryPoint> points = history.Points();
    json.StartObject();
    WriteMember(json, "step", std::int64_t{CHistory::kStepSeconds});
    WriteMember(json, "end", std::int64_t{history.EndSeconds()});
    WriteSeries(json, "hash", points, &HistoryPoint::hashRate);
    WriteSeries(json, "temp", points, &HistoryPoint::temperature);
    json.EndObject();
    return Text(buffer);
}
