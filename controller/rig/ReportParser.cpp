#include "rig/ReportParser.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <charconv>

#include "rig/CleanText.h"
#include "rig/GpuSelector.h"

namespace {

constexpr std::size_t kMaxNameBytes = 128;
constexpr std::size_t kMaxErrorBytes = 512;
constexpr std::uint64_t kTicksPerSecond = 10'000'000;
constexpr std::uint64_t kTicksTo1970 = 116'444'736'000'000'000;

using Value = rapidjson::Value;

const Value* Member(const Value& object, const char* name) {
    const auto found = object.FindMember(name);
    return found == object.MemberEnd() ? nullptr : &found->value;
}

std::string_view View(const Value& text) {
    return {text.GetString(), text.GetStringLength()};
}

std::string Text(const Value& object, const char* name) {
    const Value* const text = Member(object, name);
    return text && text->IsString() ? CleanText(View(*text), kMaxNameBytes) : std::string();
}

std::optional<std::uint64_t> Number(const Value& object, const char* name) {
    const Value* const number = Member(object, name);
    if (!number || !number->IsUint64()) return std::nullopt;
    return number->GetUint64();
}

MiningStatus Status(const Value& params) {
    const std::string status = Text(params, "status");
    if (status == "mining") return MiningStatus::Mining;
    return status == "stopped" ? MiningStatus::Stopped : MiningStatus::Unknown;
}

// The objects of an array that have a proper ID, with what readOne makes of them.
template <typename Gpu, typename ReadOne>
std::vector<Gpu> Gpus(const Value& params, const char* name, ReadOne readOne) {
    std::vector<Gpu> gpus;
    const Value* const list = Member(params, name);
    if (!list || !list->IsArray()) return gpus;
    gpus.reserve(std::min<std::size_t>(list->Size(), kMaxReportGpus));
    for (const Value& item : list->GetArray()) {
        if (gpus.size() == kMaxReportGpus) break;
        if (!item.IsObject()) continue;
        const std::optional<std::string> id = NormalGpuUuid(Text(item, "ID"));
        if (!id) continue;
        gpus.push_back(readOne(item));
        gpus.back().id = *id;
    }
    return gpus;
}

GpuStatic ReadStatic(const Value& item) {
    GpuStatic gpu;
    gpu.model = Text(item, "Model");
    gpu.cudaId = Number(item, "CUDA-ID");
    gpu.cudaMajor = Number(item, "CUDA-Major");
    gpu.cudaMinor = Number(item, "CUDA-Minor");
    gpu.totalCores = Number(item, "TotalCores");
    gpu.memory = Number(item, "Memory");
    gpu.pciDomain = Number(item, "PCI-Dom");
    gpu.pciBus = Number(item, "PCI-Bus");
    return gpu;
}

GpuDynamic ReadDynamic(const Value& item) {
    GpuDynamic gpu;
    gpu.status = Text(item, "status");
    gpu.temperature = Number(item, "Temp");
    gpu.fan = Number(item, "Fan");
    gpu.memoryUsed = Number(item, "MemInUse");
    gpu.coreClock = Number(item, "CoreClk");
    gpu.memoryClock = Number(item, "MemClk");
    gpu.power = Number(item, "Power");
    gpu.hashSpeed = Number(item, "HashSpeed");
    gpu.accepted = Number(item, "SOK");
    gpu.stale = Number(item, "SS");
    gpu.rejected = Number(item, "SR");
    gpu.lastResult = Number(item, "ST");
    return gpu;
}

ErrorReport ReadError(const Value& params) {
    ErrorReport error;
    error.time = Number(params, "time").value_or(0);
    if (const Value* const code = Member(params, "id"); code && code->IsInt64()) error.code = code->GetInt64();
    if (const Value* const text = Member(params, "text"); text && text->IsString())
        error.text = CleanText(View(*text), kMaxErrorBytes);
    return error;
}

bool Skip(std::string_view& line, std::string_view expected) {
    if (!line.starts_with(expected)) return false;
    line.remove_prefix(expected.size());
    return true;
}

template <typename Integer>
bool Take(std::string_view& line, Integer& value) {
    const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), value);
    if (error != std::errc()) return false;
    line.remove_prefix(static_cast<std::size_t>(end - line.data()));
    return true;
}

// By the fixed layout of the message: the text is whatever stands between the last opening and the closing.
std::optional<Report> BrokenError(std::string_view line) {
    ErrorReport error;
    const bool opened = Skip(line, R"({"cmd":"errorinfo","params":{"time":)") && Take(line, error.time) &&
                        Skip(line, R"(,"id":)") && Take(line, error.code) && Skip(line, R"(,"text":")");
    if (!opened || !line.ends_with(R"("}})")) return std::nullopt;
    line.remove_suffix(3);
    error.text = CleanText(line, kMaxErrorBytes);
    return error;
}

}  // namespace

std::optional<std::int64_t> UnixSeconds(std::uint64_t ticks) noexcept {
    if (ticks < kTicksTo1970) return std::nullopt;
    return static_cast<std::int64_t>((ticks - kTicksTo1970) / kTicksPerSecond);
}

std::optional<Report> ParseReport(std::string_view line) {
    line = Trimmed(line);
    if (line.size() > kMaxReportBytes) return std::nullopt;
    rapidjson::Document document;
    // Iterative: deep nesting must not use up the stack. The encoding is not judged: a rig's name is in its code page.
    document.Parse<rapidjson::kParseIterativeFlag>(line.data(), line.size());
    if (document.HasParseError()) return BrokenError(line);
    if (!document.IsObject()) return std::nullopt;
    const std::string command = Text(document, "cmd");
    const Value* const params = Member(document, "params");
    if (!params || !params->IsObject()) return std::nullopt;
    if (command == "system")
        return SystemReport{Text(*params, "hostname"), Text(*params, "ver"), Status(*params),
                            Gpus<GpuStatic>(*params, "GpuStatic", ReadStatic)};
    if (command == "update") return UpdateReport{Status(*params), Gpus<GpuDynamic>(*params, "GpuDynamic", ReadDynamic)};
    if (command == "errorinfo") return ReadError(*params);
    return std::nullopt;
}
