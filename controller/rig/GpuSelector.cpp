#include "rig/GpuSelector.h"

#include <algorithm>
#include <charconv>

namespace {

constexpr std::size_t kUuidDigits = 32;
constexpr std::size_t kMaxIndexDigits = 4;

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool Means(const GpuSelector& selector, const GpuStatic& gpu) {
    switch (selector.kind) {
        case GpuSelector::Kind::All:
            return true;
        case GpuSelector::Kind::Index:
            return gpu.cudaId == selector.index;
        case GpuSelector::Kind::Uuid:
            return gpu.id == selector.uuid;
    }
    return false;
}

}  // namespace

std::optional<std::string> NormalGpuUuid(std::string_view text) {
    if (text.starts_with("GPU-")) text.remove_prefix(4);
    std::string digits;
    for (char c : text) {
        if (c == '-') continue;
        if (c >= 'A' && c <= 'F') c = static_cast<char>(c - 'A' + 'a');
        if (!IsDigit(c) && (c < 'a' || c > 'f')) return std::nullopt;
        digits += c;
    }
    if (digits.size() != kUuidDigits) return std::nullopt;
    return digits;
}

std::optional<GpuSelector> ParseGpuSelector(std::string_view text) {
    if (text == "all") return GpuSelector{};
    if (!text.empty() && text.size() <= kMaxIndexDigits && std::all_of(text.begin(), text.end(), IsDigit)) {
        GpuSelector selector{GpuSelector::Kind::Index, 0, {}};
        std::from_chars(text.data(), text.data() + text.size(), selector.index);
        return selector;
    }
    if (auto uuid = NormalGpuUuid(text)) return GpuSelector{GpuSelector::Kind::Uuid, 0, std::move(*uuid)};
    return std::nullopt;
}

std::string SelectorText(const GpuSelector& selector) {
    if (selector.kind == GpuSelector::Kind::All) return "all";
    return selector.kind == GpuSelector::Kind::Index ? std::to_string(selector.index) : selector.uuid;
}

SelectedGpus SelectGpus(const std::vector<GpuSelector>& selectors, const SystemReport& system) {
    SelectedGpus selected;
    for (const GpuSelector& selector : selectors) {
        bool found = false;
        for (const GpuStatic& gpu : system.gpus) {
            if (!Means(selector, gpu)) continue;
            found = true;
            if (std::find(selected.uuids.begin(), selected.uuids.end(), gpu.id) == selected.uuids.end())
                selected.uuids.push_back(gpu.id);
        }
        if (found) continue;
        selected.error = selector.kind == GpuSelector::Kind::All ? "the rig reports no GPU"
                                                                 : "the rig has no GPU " + SelectorText(selector);
        return selected;
    }
    return selected;
}
