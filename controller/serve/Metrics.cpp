#include "serve/Metrics.h"

#include <array>
#include <cstdio>
#include <functional>
#include <string_view>

#include "rig/GpuRows.h"

namespace {

using Time = std::chrono::steady_clock::time_point;
using Number = std::optional<std::uint64_t>;

std::string NumberText(double value) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%.15g", value);
    return text.data();
}

// As it must stand between the quotes of a label.
std::string LabelText(std::string_view value) {
    std::string text;
    for (const char c : value) {
        if (c == '\n') {
            text += "\\n";
            continue;
        }
        if (c == '\\' || c == '"') text += '\\';
        text += c;
    }
    return text;
}

// One GPU with the labels of its samples.
struct GpuEntry {
    GpuRow row;
    std::string labels;
};

struct RigEntry {
    const RigView* rig = nullptr;
    std::string labels;
    std::vector<GpuEntry> gpus;  // none while the rig is down
};

std::vector<RigEntry> Entries(const std::vector<const RigView*>& rigs, Time now) {
    std::vector<RigEntry> entries;
    for (const RigView* const rig : rigs) {
        RigEntry entry{rig, "rig=\"" + LabelText(rig->address.Text()) + "\"", {}};
        const SystemReport* const system = rig->IsUp() && rig->system ? &*rig->system : nullptr;
        for (GpuRow& row : GpuRows(system, rig->Fresh(now))) {
            std::string labels = entry.labels + ",gpu=\"" + row.id + "\"";
            if (row.fixed && row.fixed->cudaId) labels += ",index=\"" + std::to_string(*row.fixed->cudaId) + "\"";
            entry.gpus.push_back({std::move(row), std::move(labels)});
        }
        entries.push_back(std::move(entry));
    }
    return entries;
}

class CMetricsWriter {
  public:
    explicit CMetricsWriter(const std::vector<RigEntry>& entries) : m_entries(entries) {}

    void Family(const char* name, const char* type, const char* help) {
        m_name = name;
        m_text += std::string("# HELP ") + name + " " + help + "\n# TYPE " + name + " " + type + "\n";
    }
    void Sample(std::string_view labels, double value) {
        m_text.append(m_name).append("{").append(labels).append("} ").append(NumberText(value)).append("\n");
    }
    void PerRig(const std::function<void(const RigEntry&)>& write) {
        for (const RigEntry& entry : m_entries)
            write(entry);
    }
    // factor: from the report's unit to the metric's.
    void PerGpu(const char* name, const char* help, Number GpuDynamic::*member, double factor = 1) {
        Family(name, "gauge", help);
        for (const RigEntry& entry : m_entries)
            for (const GpuEntry& gpu : entry.gpus)
                if (gpu.row.live && gpu.row.live->*member)
                    Sample(gpu.labels, static_cast<double>(*(gpu.row.live->*member)) * factor);
    }
    std::string TakeText() { return std::move(m_text); }
    const std::vector<RigEntry>& All() const { return m_entries; }

  private:
    const std::vector<RigEntry>& m_entries;
    std::string m_name;
    std::string m_text;
};

void WriteRigs(CMetricsWriter& writer) {
    writer.Family("quorvel_rig_up", "gauge", "Whether the rig is connected and answers.");
    writer.PerRig([&](const RigEntry& entry) { writer.Sample(entry.labels, entry.rig->IsUp() ? 1 : 0); });
    writer.Family("quorvel_rig_mining", "gauge", "Whether the rig says that it mines.");
    writer.PerRig([&](const RigEntry& entry) {
        const MiningStatus status = entry.rig->Status();
        if (status != MiningStatus::Unknown) writer.Sample(entry.labels, status == MiningStatus::Mining ? 1 : 0);
    });
    writer.Family("quorvel_rig_info", "gauge", "Name and version of the rig.");
    writer.PerRig([&](const RigEntry& entry) {
        if (!entry.rig->IsUp() || !entry.rig->system) return;
        writer.Sample(entry.labels + ",hostname=\"" + LabelText(entry.rig->system->hostname) + "\",version=\"" +
                          LabelText(entry.rig->system->version) + "\"",
                      1);
    });
}

// One sample for each kind, so that a series goes back to 0 instead of breaking off when its trouble is over.
void WriteTroubles(CMetricsWriter& writer) {
    writer.Family("quorvel_rig_trouble", "gauge", "Troubles that the rig says last, by kind.");
    writer.PerRig([&](const RigEntry& entry) {
        if (!entry.rig->IsUp()) return;
        for (const auto& [code, name] : TroubleKinds())
            writer.Sample(entry.labels + ",kind=\"" + std::string(name) + "\",code=\"" + std::to_string(code) + "\"",
                          static_cast<double>(entry.rig->troubles.CountOf(code)));
    });
}

void WriteRigCounters(CMetricsWriter& writer) {
    const auto counter = [&](const char* name, const char* help, std::uint64_t RigView::*member) {
        writer.Family(name, "counter", help);
        writer.PerRig([&](const RigEntry& entry) { writer.Sample(entry.labels, static_cast<double>(entry.rig->*member)); });
    };
    counter("quorvel_rig_connects_total", "Connections that the rig has answered.", &RigView::connects);
    counter("quorvel_rig_reports_total", "Reports received from the rig.", &RigView::reports);
    counter("quorvel_rig_bad_lines_total", "Lines from the rig that were no reports.", &RigView::badLines);
    counter("quorvel_rig_pool_errors_total", "Errors of pools that the rig has reported.", &RigView::errorCount);
}

void WriteShares(CMetricsWriter& writer) {
    static constexpr struct {
        const char* result;
        Number GpuDynamic::*member;
    } kResults[] = {{"accepted", &GpuDynamic::accepted}, {"rejected", &GpuDynamic::rejected}, {"stale", &GpuDynamic::stale}};
    writer.Family("quorvel_gpu_shares_total", "counter", "Shares since the miner started, by result.");
    for (const RigEntry& entry : writer.All())
        for (const GpuEntry& gpu : entry.gpus)
            for (const auto& [result, member] : kResults)
                if (gpu.row.live && gpu.row.live->*member)
                    writer.Sample(gpu.labels + ",result=\"" + result + "\"", static_cast<double>(*(gpu.row.live->*member)));
}

void WriteGpuStatic(CMetricsWriter& writer) {
    writer.Family("quorvel_gpu_info", "gauge", "Model of the GPU.");
    for (const RigEntry& entry : writer.All())
        for (const GpuEntry& gpu : entry.gpus)
            if (gpu.row.fixed) writer.Sample(gpu.labels + ",model=\"" + LabelText(gpu.row.fixed->model) + "\"", 1);
    writer.Family("quorvel_gpu_memory_total_bytes", "gauge", "Memory of the GPU.");
    for (const RigEntry& entry : writer.All())
        for (const GpuEntry& gpu : entry.gpus)
            if (gpu.row.fixed && gpu.row.fixed->memory)
                writer.Sample(gpu.labels, static_cast<double>(*gpu.row.fixed->memory));
}

void WriteLastShare(CMetricsWriter& writer) {
    writer.Family("quorvel_gpu_last_share_timestamp_seconds", "gauge", "When the GPU's latest share was answered.");
    for (const RigEntry& entry : writer.All()) {
        for (const GpuEntry& gpu : entry.gpus) {
            const auto time = gpu.row.live ? UnixSeconds(gpu.row.live->lastResult.value_or(0)) : std::nullopt;
            if (time) writer.Sample(gpu.labels, static_cast<double>(*time));
        }
    }
}

}  // namespace

std::string MetricsText(const std::vector<const RigView*>& rigs, Time now) {
    const std::vector<RigEntry> entries = Entries(rigs, now);
    CMetricsWriter writer(entries);
    WriteRigs(writer);
    WriteTroubles(writer);
    WriteRigCounters(writer);
    writer.PerGpu("quorvel_gpu_hashes_per_second", "Hash rate.", &GpuDynamic::hashSpeed);
    WriteShares(writer);
    writer.PerGpu("quorvel_gpu_temperature_celsius", "Temperature of the die.", &GpuDynamic::temperature);
    writer.PerGpu("quorvel_gpu_fan_ratio", "Fan speed, 1 is full speed.", &GpuDynamic::fan, 0.01);
    writer.PerGpu("quorvel_gpu_power_watts", "Power draw.", &GpuDynamic::power);
    writer.PerGpu("quorvel_gpu_core_clock_hertz", "Graphics core clock.", &GpuDynamic::coreClock, 1e6);
    writer.PerGpu("quorvel_gpu_memory_clock_hertz", "Memory clock.", &GpuDynamic::memoryClock, 1e6);
    writer.PerGpu("quorvel_gpu_memory_used_bytes", "Memory in use.", &GpuDynamic::memoryUsed);
    WriteGpuStatic(writer);
    WriteLastShare(writer);
    return writer.TakeText();
}
