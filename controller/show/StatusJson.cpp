#include "show/StatusJson.h"

#include "rig/CleanText.h"
#include "rig/GpuRows.h"
#include "rig/JsonText.h"

namespace {

using Number = std::optional<std::uint64_t>;

constexpr std::size_t kMaxProblemBytes = 500;

template <typename Gpu>
struct Figure {
    const char* name;
    Number Gpu::*value;
};
constexpr Figure<GpuStatic> kFixedFigures[] = {{"index", &GpuStatic::cudaId}, {"memory_total_bytes", &GpuStatic::memory}};
constexpr Figure<GpuDynamic> kLiveFigures[] = {
    {"hashes_per_second", &GpuDynamic::hashSpeed},
    {"accepted", &GpuDynamic::accepted},
    {"stale", &GpuDynamic::stale},
    {"rejected", &GpuDynamic::rejected},
    {"temperature_celsius", &GpuDynamic::temperature},
    {"fan_percent", &GpuDynamic::fan},
    {"power_watts", &GpuDynamic::power},
    {"core_clock_mhz", &GpuDynamic::coreClock},
    {"memory_clock_mhz", &GpuDynamic::memoryClock},
    {"memory_used_bytes", &GpuDynamic::memoryUsed},
};

void WriteNumber(JsonWriter& json, const char* name, const Number& number) {
    if (!number) return;
    json.Key(name);
    json.Uint64(*number);
}

void WriteTime(JsonWriter& json, const char* name, const Number& ticks) {
    const auto seconds = ticks ? UnixSeconds(*ticks) : std::nullopt;
    if (seconds) WriteMember(json, name, std::int64_t{*seconds});
}

template <typename Gpu, std::size_t count>
void WriteFigures(JsonWriter& json, const Gpu* gpu, const Figure<Gpu> (&figures)[count]) {
    for (const Figure<Gpu>& figure : figures)
        if (gpu) WriteNumber(json, figure.name, gpu->*figure.value);
}

void WriteGpu(JsonWriter& json, const GpuRow& row) {
    json.StartObject();
    WriteMember(json, "uuid", row.id);
    if (row.fixed) WriteMember(json, "model", row.fixed->model);
    WriteFigures(json, row.fixed, kFixedFigures);
    WriteFigures(json, row.live, kLiveFigures);
    if (row.live) WriteTime(json, "last_share", row.live->lastResult);
    json.EndObject();
}

void WriteTrouble(JsonWriter& json, const Trouble& trouble) {
    json.StartObject();
    WriteMember(json, "code", std::int64_t{trouble.code});
    WriteMember(json, "text", trouble.text);
    WriteTime(json, "since", trouble.since);
    WriteNumber(json, "gpu_index", trouble.gpu);
    json.EndObject();
}

template <typename Items, typename Write>
void WriteList(JsonWriter& json, const char* name, const Items& items, Write write) {
    json.Key(name);
    json.StartArray();
    for (const auto& item : items)
        write(json, item);
    json.EndArray();
}

void WriteRig(JsonWriter& json, const RigSight& sight) {
    const CTroubleList none;
    const CTroubleList& troubles = sight.troubles ? *sight.troubles : none;
    json.StartObject();
    WriteMember(json, "rig", sight.rig);
    json.Key("reachable");
    json.Bool(sight.system != nullptr);
    WriteMember(json, "status", sight.system ? StateText(StateOf(sight.system, sight.update, troubles)) : "down");
    if (!sight.problem.empty()) WriteMember(json, "problem", CleanText(sight.problem, kMaxProblemBytes));
    if (sight.system) {
        WriteMember(json, "hostname", sight.system->hostname);
        WriteMember(json, "version", sight.system->version);
    }
    WriteList(json, "trouble", troubles.All(), WriteTrouble);
    WriteList(json, "gpus", GpuRows(sight.system, sight.update), WriteGpu);
    json.EndObject();
}

}  // namespace

std::string StatusJson(const std::vector<RigSight>& sights) {
    rapidjson::StringBuffer buffer;
    JsonWriter json(buffer);
    json.StartObject();
    WriteList(json, "rigs", sights, WriteRig);
    json.EndObject();
    return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}
