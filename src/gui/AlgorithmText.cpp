#include "gui/AlgorithmText.h"

#include "common/AlgorithmNames.h"
#include "common/CodePage.h"

namespace {

constexpr wchar_t kNoPlugIn[] = L" - no plug-in";

bool HasPlugIn(std::int32_t id, const CAlgorithmList& algorithms) {
    return &algorithms.Find(id) != &algorithms.Fallback();
}

}  // namespace

std::wstring AlgorithmText(std::int32_t id, const CAlgorithmList& algorithms) {
    const bool hasPlugIn = HasPlugIn(id, algorithms);
    const std::wstring name = hasPlugIn ? algorithms.Find(id).record.name : NarrowToWide(AlgorithmName(id));
    const std::wstring number = std::to_wstring(id);
    return (name.empty() ? number : name + L" (" + number + L")") + (hasPlugIn ? L"" : kNoPlugIn);
}

std::wstring PoolText(const PoolEntry& pool, const CAlgorithmList& algorithms) {
    const bool isMarked = !pool.IsUnassigned() && !HasPlugIn(pool.Algo, algorithms);
    return std::wstring(pool.Name) + (isMarked ? kNoPlugIn : L"");
}
