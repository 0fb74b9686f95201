#include "show/Tables.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "common/AlgorithmNames.h"
#include "rig/GpuRows.h"
#include "show/TextTable.h"

namespace {

using Align = CTextTable::Align;
using Number = std::optional<std::uint64_t>;

std::string Cell(const Number& number, const char* unit = "") {
    return number ? std::to_string(*number) + unit : "-";
}

std::string Gibibytes(const Number& bytes) {
    if (!bytes) return "-";
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%.1f GiB", static_cast<double>(*bytes) / (1 << 30));
    return text.data();
}

std::string Rate(const Number& speed) {
    return speed ? HashRateText(static_cast<double>(*speed)) : "-";
}

std::string Shares(const GpuDynamic& gpu) {
    return Cell(gpu.accepted) + "/" + Cell(gpu.stale) + "/" + Cell(gpu.rejected);
}

std::string GpuName(const GpuStatic* gpu, const std::string& id) {
    return gpu && gpu->cudaId ? std::to_string(*gpu->cudaId) : id.substr(0, 8);
}

// One a row, at least one: trouble of a GPU stands in the GPU's own, all else in the first.
std::vector<std::string> Notes(const std::vector<GpuRow>& rows, const std::string& problem,
                               const std::vector<Trouble>& troubles) {
    std::vector<std::string> notes(std::max<std::size_t>(rows.size(), 1));
    const auto add = [](std::string& note, const std::string& text) {
        if (!text.empty()) note += (note.empty() ? "" : "; ") + text;
    };
    for (const Trouble& trouble : troubles) {
        const auto own = std::ranges::find_if(
            rows, [&](const GpuRow& row) { return trouble.gpu && row.fixed && row.fixed->cudaId == trouble.gpu; });
        add(notes[own == rows.end() ? 0 : static_cast<std::size_t>(own - rows.begin())], trouble.text);
    }
    add(notes.front(), problem);
    return notes;
}

void AddSight(CTextTable& table, const RigSight& sight) {
    if (!sight.system) {
        table.Add({sight.rig, "", "down", "", "", "", "", "", "", "", sight.problem});
        return;
    }
    static const CTroubleList kNoTrouble;
    const CTroubleList& troubles = sight.troubles ? *sight.troubles : kNoTrouble;
    const char* const state = StateText(StateOf(sight.system, sight.update, troubles));
    const std::string host = sight.rig + (sight.system->hostname.empty() ? "" : " (" + sight.system->hostname + ")");
    const auto rows = GpuRows(sight.system, sight.update);
    const std::vector<std::string> notes = Notes(rows, sight.problem, troubles.All());
    if (rows.empty()) table.Add({host, "", state, "no GPU", "", "", "", "", "", "", notes.front()});
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const GpuRow& row = rows[i];
        const GpuDynamic none;
        const GpuDynamic& live = row.live ? *row.live : none;
        table.Add({host, GpuName(row.fixed, row.id), state, row.fixed ? row.fixed->model : "", Rate(live.hashSpeed),
                   row.live ? Shares(live) : "-", Cell(live.temperature, " C"), Cell(live.fan, " %"), Cell(live.power, " W"),
                   Cell(live.coreClock), notes[i]});
    }
}

}  // namespace

std::string HashRateText(double rate) {
    static constexpr const char* kUnits[] = {"H/s", "kH/s", "MH/s", "GH/s", "TH/s", "PH/s"};
    std::size_t unit = 0;
    for (; rate >= 1000 && unit + 1 < std::size(kUnits); ++unit)
        rate /= 1000;
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), unit == 0 ? "%.0f %s" : "%.2f %s", rate, kUnits[unit]);
    return text.data();
}

std::string StatusText(MiningStatus status) {
    if (status == MiningStatus::Mining) return "mining";
    return status == MiningStatus::Stopped ? "stopped" : "unknown";
}

std::string StatusTable(const std::vector<RigSight>& sights) {
    CTextTable table({{"RIG"},
                      {"GPU", Align::Right},
                      {"STATE"},
                      {"MODEL"},
                      {"HASH RATE", Align::Right},
                      {"OK/STALE/REJ", Align::Right},
                      {"TEMP", Align::Right},
                      {"FAN", Align::Right},
                      {"POWER", Align::Right},
                      {"MHZ", Align::Right},
                      {"NOTE"}});
    for (const RigSight& sight : sights)
        AddSight(table, sight);
    return table.Text();
}

std::string SystemTable(const SystemReport& system) {
    CTextTable table(
        {{"GPU", Align::Right}, {"MODEL"}, {"CUDA"}, {"CORES", Align::Right}, {"MEMORY", Align::Right}, {"PCI"}, {"UUID"}});
    for (const GpuStatic& gpu : system.gpus)
        table.Add({Cell(gpu.cudaId), gpu.model, Cell(gpu.cudaMajor) + "." + Cell(gpu.cudaMinor), Cell(gpu.totalCores),
                   Gibibytes(gpu.memory), Cell(gpu.pciDomain) + ":" + Cell(gpu.pciBus), gpu.id});
    return "host " + system.hostname + ", version " + system.version + ", " + StatusText(system.status) + "\n" +
           table.Text();
}

std::string UpdateTable(const UpdateReport& update) {
    CTextTable table({{"UUID"},
                      {"HASH RATE", Align::Right},
                      {"OK/STALE/REJ", Align::Right},
                      {"TEMP", Align::Right},
                      {"FAN", Align::Right},
                      {"POWER", Align::Right},
                      {"CORE MHZ", Align::Right},
                      {"MEM MHZ", Align::Right},
                      {"MEM USED", Align::Right}});
    for (const GpuDynamic& gpu : update.gpus)
        table.Add({gpu.id, Rate(gpu.hashSpeed), Shares(gpu), Cell(gpu.temperature, " C"), Cell(gpu.fan, " %"),
                   Cell(gpu.power, " W"), Cell(gpu.coreClock), Cell(gpu.memoryClock), Gibibytes(gpu.memoryUsed)});
    return StatusText(update.status) + "\n" + table.Text();
}

std::string PoolTable(const ConfigFile& file) {
    CTextTable table({{"POOL", Align::Right},
                      {"NAME"},
                      {"SERVER"},
                      {"PORT", Align::Right},
                      {"ALGORITHM"},
                      {"WALLET"},
                      {"PASSWORD"},
                      {"WORKER"}});
    for (const PoolRecord& pool : file.pools) {
        const std::string_view name = AlgorithmName(pool.algo);
        table.Add({std::to_string(pool.id), pool.name, pool.server, std::to_string(pool.port),
                   std::to_string(pool.algo) + (name.empty() ? "" : " " + std::string(name)), pool.wallet,
                   pool.password.value_or(""), pool.workerOverride.value_or("")});
    }
    return table.Text();
}
