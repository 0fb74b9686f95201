// Lines that a rig sends to its controller, and the tables that are made of the reports among them. Whatever a rig writes,
// nothing of it reaches the terminal that is not plain text.
#include <algorithm>
#include <cstdlib>

#include "rig/GpuSelector.h"
#include "rig/ReportParser.h"
#include "show/Tables.h"

namespace {

void Require(bool condition) {
    if (!condition) std::abort();
}

void RequirePlain(std::string_view text, std::string_view allowed = {}) {
    Require(std::ranges::all_of(text, [&](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return (byte >= 0x20 && byte != 0x7F) || allowed.find(c) != std::string_view::npos;
    }));
}

template <typename Gpu>
void RequireProper(const std::vector<Gpu>& gpus) {
    Require(gpus.size() <= kMaxReportGpus);
    for (const Gpu& gpu : gpus)
        Require(NormalGpuUuid(gpu.id) == gpu.id);
}

struct Check {
    void operator()(const SystemReport& report) {
        RequireProper(report.gpus);
        RequirePlain(report.hostname);
        RequirePlain(SystemTable(report), "\n");
        troubles.Apply(report);
        system = report;
    }
    void operator()(const UpdateReport& report) {
        RequireProper(report.gpus);
        RequirePlain(UpdateTable(report), "\n");
        update = report;
    }
    void operator()(const ErrorReport& report) {
        RequirePlain(report.text);
        troubles.Apply(report);
        Require(troubles.All().size() <= CTroubleList::kMaxKept);
    }

    std::optional<SystemReport> system;
    std::optional<UpdateReport> update;
    CTroubleList troubles;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    Check check;
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(rest.size(), line.size() + 1));
        if (const std::optional<Report> report = ParseReport(line)) std::visit(check, *report);
    }
    const RigSight sight{
        "rig", {}, check.system ? &*check.system : nullptr, check.update ? &*check.update : nullptr, &check.troubles};
    RequirePlain(StatusTable({sight}), "\n");
    return 0;
}
