#include "mining/PlugInMessages.h"

namespace {

struct Addressed {
    std::int32_t gpu;
    std::wstring_view text;
};

// line: "<plug-in>: [GPU <n>: ]<text>".
Addressed ReadLine(std::wstring_view line, std::int32_t all) {
    constexpr std::wstring_view kGpu = L"GPU ";
    const std::size_t at = line.find(kGpu);
    if (at != std::wstring_view::npos) {
        std::size_t end = at + kGpu.size();
        std::int32_t gpu = 0;
        for (; end < line.size() && line[end] >= L'0' && line[end] <= L'9' && gpu < 10'000; ++end)
            gpu = gpu * 10 + (line[end] - L'0');
        const bool hasDigits = end > at + kGpu.size();
        if (hasDigits && line.substr(end, 2) == L": ") return {gpu, line.substr(end + 2)};
    }
    const std::size_t name = line.find(L": ");
    return {all, name == std::wstring_view::npos ? line : line.substr(name + 2)};
}

}  // namespace

void CPlugInMessages::Add(std::wstring_view line, TimeSpan time) {
    const Addressed message = ReadLine(line, kAll);
    // Work that was finished explains nothing.
    const bool isDone = message.text.find(L" is done in ") != std::wstring_view::npos;
    const std::lock_guard lock(m_lock);
    if (isDone) {
        m_latest.erase(message.gpu);
    } else {
        m_latest[message.gpu] = {std::wstring(message.text), time};
    }
}

std::optional<PlugInMessage> CPlugInMessages::Latest(std::int32_t cudaId) const {
    const std::lock_guard lock(m_lock);
    const auto own = m_latest.find(cudaId);
    const auto all = m_latest.find(kAll);
    if (own == m_latest.end() && all == m_latest.end()) return std::nullopt;
    if (own == m_latest.end()) return all->second;
    // That a card cannot hash is not made up for by what is prepared for all of them.
    const bool isRefusal = own->second.text.starts_with(L"not hashing") || own->second.text.starts_with(L"lost");
    if (isRefusal || all == m_latest.end() || own->second.time >= all->second.time) return own->second;
    return all->second;
}

void CPlugInMessages::Clear() {
    const std::lock_guard lock(m_lock);
    m_latest.clear();
}
