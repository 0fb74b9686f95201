#include "control/StatusReports.h"
#include <algorithm>
#include <array>
#include <charconv>
#include <concepts>
#include <cstring>
#include "common/CodePage.h"
#include "common/Hex.h"
#include "common/SharedWord.h"
#include "common/Version.h"

namespace {

constexpr std::size_t kFrameBytes = 256;      // of a report without its GPUs
constexpr std::size_t kGpuStaticBytes = 384;  // at most, of one GPU: numbers at their longest
constexpr std::size_t kGpuDynamicBytes = 448;
constexpr std::size_t kUuidDigits = std::size_t{2} * QV_UUID_BYTES;

template <std::integral Number>
void AppendNumber(std::string& out, Number value) {
    std::array<char, 24> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    out.append(digits.data(), end);
}

// One member with the comma that follows it.
template <std::integral Number>
void AppendMember(std::string& out, std::string_view start, Number value) {
    out.append(start);
    AppendNumber(out, value);
    out.push_back(',');
}

void AppendGpuId(std::string& out, const QvGpuRecord& gpu) {
    std::array<char, kUuidDigits> digits;
    HexEncode(std::span(gpu.uuid).first<QV_UUID_BYTES>(), digits);
    out.append("\"ID\":\"").append(digits.data(), digits.size()).append("\"");
}

// A character as the system's code page has it. '?': it has none, or one with a byte that ends a text of JSON: a similar
// character that the system offers may be a quote, and the second byte of a character a backslash.
std::string HostCharacter(std::wstring_view character) {
    bool isLost = false;
    std::string bytes = Utf8ToNarrow(WideToUtf8(character), &isLost);
    const bool isHarmless = std::ranges::none_of(
        bytes, [](char c) { return c == '"' || c == '\\' || c == '\x7F' || static_cast<unsigned char>(c) < ' '; });
    return isLost || !isHarmless ? "?" : bytes;
}

// As the wide conversion of printf writes it, but for characters that the code page lacks. That conversion fails as a whole
// at the first of them, so that no report of such a machine would ever arrive.
std::string HostNameText(std::wstring_view name) {
    std::string text;
    while (!name.empty()) {
        const bool isPair = name.size() > 1 && name[0] >= 0xD800 && name[0] <= 0xDBFF;
        text.append(HostCharacter(name.substr(0, isPair ? 2 : 1)));
        name.remove_prefix(isPair ? 2 : 1);
    }
    return text;
}

void AppendStatus(std::string& out, bool isMining) {
    out.append(isMining ? "\"status\":\"mining\"," : "\"status\":\"stopped\",");
}

void AppendStatic(std::string& out, const QvGpuRecord& gpu) {
    out.push_back('{');
    AppendGpuId(out, gpu);
    out.append(",\"Model\":\"").append(gpu.name, strnlen(gpu.name, sizeof gpu.name)).append("\",");
    AppendMember(out, "\"CUDA-ID\":", gpu.cudaId);
    AppendMember(out, "\"CUDA-Major\":", gpu.ccMajor);
    AppendMember(out, "\"CUDA-Minor\":", gpu.ccMinor);
    AppendMember(out, "\"MultiProc\":", gpu.multiProcessors);
    AppendMember(out, "\"CoresPerMultiProc\":", gpu.coresPerMultiProc);
    AppendMember(out, "\"TotalCores\":", gpu.totalCores);
    AppendMember(out, "\"Memory\":", gpu.memoryTotal);
    // These two are written signed, though they are not.
    AppendMember(out, "\"PCI-Dom\":", static_cast<std::int32_t>(gpu.pci.domain));
    out.append("\"PCI-Bus\":");
    AppendNumber(out, static_cast<std::int32_t>(gpu.pci.bus));
    out.append("},");
}

void AppendDynamic(std::string& out, const QvGpuRecord& gpu) {
    out.push_back('{');
    AppendGpuId(out, gpu);
    out.append(",\"status\":\"OK\",");
    AppendMember(out, "\"Temp\":", ReadShared(gpu.temperature));
    AppendMember(out, "\"Fan\":", ReadShared(gpu.fanSpeed));
    AppendMember(out, "\"MemInUse\":", ReadShared(gpu.memoryUsed));
    AppendMember(out, "\"CoreClk\":", ReadShared(gpu.coreClock));
    AppendMember(out, "\"MemClk\":", ReadShared(gpu.memoryClock));
    if (const std::uint32_t power = ReadShared(gpu.powerUsage); power != 0) AppendMember(out, "\"Power\":", power);

    const CMiningStatistics& statistics = gpu.statistics;
    AppendMember(out, "\"HashSpeed\":", ReadShared(statistics.hashSpeed));
    AppendMember(out, "\"SolSpeed\":", ReadShared(statistics.solSpeed));
    AppendMember(out, "\"SOK\":", ReadShared(statistics.accepted));
    AppendMember(out, "\"SS\":", ReadShared(statistics.stale));
    AppendMember(out, "\"SR\":", ReadShared(statistics.rejected));
    out.append("\"ST\":");
    AppendNumber(out, static_cast<std::uint64_t>(ReadShared(statistics.lastTime)));
    out.append("},");
}

void AppendGpus(std::string& out, GpuSpan gpus, void (*append)(std::string&, const QvGpuRecord&)) {
    for (const QvGpuRecord* gpu : gpus)
        append(out, *gpu);
    if (!gpus.empty()) out.pop_back();  // the comma after the last
    out.append("]}}\n");
}

std::string StartReport(std::string_view start, std::size_t bytes) {
    std::string out;
    out.reserve(bytes);
    out.append(start);
    return out;
}

}  // namespace

std::string GpuIdText(const QvGpuRecord& gpu) {
    std::string out;
    AppendGpuId(out, gpu);
    return out;
}

std::string SystemReport(std::wstring_view hostName, bool isMining, GpuSpan gpus) {
    std::string out = StartReport("{\"cmd\":\"system\",\"params\":{\"hostname\":\"",
                                  kFrameBytes + 2 * hostName.size() + gpus.size() * kGpuStaticBytes);
    out.append(HostNameText(hostName)).append("\",\"ver\":\"").append(kVersionText).append("\",");
    AppendStatus(out, isMining);
    out.append("\"GpuStatic\":[");
    AppendGpus(out, gpus, AppendStatic);
    return out;
}

std::string UpdateReport(bool isMining, GpuSpan gpus) {
    std::string out = StartReport("{\"cmd\":\"update\",\"params\":{", kFrameBytes + gpus.size() * kGpuDynamicBytes);
    AppendStatus(out, isMining);
    out.append("\"GpuDynamic\":[");
    AppendGpus(out, gpus, AppendDynamic);
    return out;
}

std::string ErrorReport(const PoolError& error) {
    std::string out = StartReport("{\"cmd\":\"errorinfo\",\"params\":{", kFrameBytes + sizeof error.text);
    AppendMember(out, "\"time\":", static_cast<std::uint64_t>(error.time.ticks));
    AppendMember(out, "\"id\":", error.code);
    out.append("\"text\":\"");
    const std::size_t textStart = out.size();
    out.append(error.text, strnlen(error.text, sizeof error.text));
    std::replace_if(
        out.begin() + static_cast<std::ptrdiff_t>(textStart), out.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    out.append("\"}}\n");
    return out;
}
