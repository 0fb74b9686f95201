#include "cards/CardMemory.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::uint64_t kMostReal = 256ULL << 20;
constexpr std::uint64_t kAlignment = 256;  // as a card aligns
constexpr std::uint64_t kItemBytes = sizeof(EthashItem);
constexpr std::uint8_t kUnwritten = 0xa5;

bool IsNull(const CCardStream& stream) {
    return stream.KindOf() == CCardStream::Kind::Null;
}

bool AreOrdered(const CCardStream& first, const CCardStream& second) {
    if (&first == &second) return true;
    const bool anyIsFree =
        first.KindOf() == CCardStream::Kind::NonBlocking || second.KindOf() == CCardStream::Kind::NonBlocking;
    return !anyIsFree && (IsNull(first) || IsNull(second));
}

}  // namespace

void CCardFaults::Add(std::string text) {
    const std::lock_guard lock(m_lock);
    // What repeats itself is said once.
    if (std::find(m_texts.begin(), m_texts.end(), text) == m_texts.end()) m_texts.push_back(std::move(text));
}

std::vector<std::string> CCardFaults::List() const {
    const std::lock_guard lock(m_lock);
    return m_texts;
}

CudaAddress CCardMemory::Allocate(std::size_t bytes, bool mapped) {
    auto region = std::make_shared<Region>();
    region->bytes = bytes;
    region->mapped = mapped;
    const std::lock_guard lock(m_lock);
    CudaAddress address = m_nextLarge;
    if (bytes > kMostReal) {
        m_nextLarge += (bytes + kMostReal) / kMostReal * kMostReal;
    } else {
        region->storage.resize((bytes + kAlignment) / sizeof(std::uint64_t) + 1);
        void* first = region->storage.data();
        std::size_t space = region->storage.size() * sizeof(std::uint64_t);
        region->memory = static_cast<char*>(std::align(kAlignment, bytes, first, space));
        std::memset(region->memory, kUnwritten, bytes);
        address = reinterpret_cast<CudaAddress>(region->memory);
    }
    m_regions[address] = std::move(region);
    return address;
}

bool CCardMemory::Free(CudaAddress address, bool isDead) {
    std::shared_ptr<Region> region;
    {
        const std::lock_guard lock(m_lock);
        const auto found = m_regions.find(address);
        if (found == m_regions.end()) {
            m_faults.Add("memory is freed that is not there");
            return false;
        }
        region = std::move(found->second);
        m_regions.erase(found);
    }
    for (const CardUse& use : region->uses) {
        if (use.isGrid && !isDead && !use.point.stream->IsKnown(use.point.place)) {
            m_faults.Add("memory is freed while " + use.what + " may still use it");
        }
        use.point.stream->Wait(use.point.place);
    }
    return true;
}

std::size_t CCardMemory::Count() const {
    const std::lock_guard lock(m_lock);
    return m_regions.size();
}

std::uint64_t CCardMemory::Bytes() const {
    const std::lock_guard lock(m_lock);
    std::uint64_t bytes = 0;
    for (const auto& [address, region] : m_regions)
        bytes += region->bytes;
    return bytes;
}

CCardMemory::Found CCardMemory::FindLocked(CudaAddress address, std::uint64_t bytes) const {
    auto next = m_regions.upper_bound(address);
    if (next == m_regions.begin()) return {};
    --next;
    if (address - next->first + bytes > next->second->bytes) return {};
    return *next;
}

bool CCardMemory::Use(CardUse use) {
    const std::lock_guard lock(m_lock);
    const auto [base, region] = FindLocked(use.begin, use.bytes);
    if (region == nullptr) {
        m_faults.Add(use.what + " uses memory that is not there");
        return false;
    }
    CheckLocked(*region, use);
    if (use.lasts) region->uses.push_back(std::move(use));
    return true;
}

void CCardMemory::CheckLocked(Region& region, const CardUse& use) {
    std::erase_if(region.uses, [](const CardUse& each) { return each.point.stream->IsKnown(each.point.place); });
    for (const CardUse& other : region.uses) {
        const bool meets = other.begin < use.begin + use.bytes && use.begin < other.begin + other.bytes;
        if (!meets || !(other.writes || use.writes)) continue;
        // What the host reads must have been waited for before it is written anew.
        if (!region.mapped && AreOrdered(*other.point.stream, *use.point.stream)) continue;
        m_faults.Add(use.what + " may meet " + other.what + ": nothing orders them and no wait has told of the end");
    }
}

void CCardMemory::Write(CudaAddress to, const void* from, std::size_t bytes) {
    const std::lock_guard lock(m_lock);
    const auto [base, region] = FindLocked(to, bytes);
    if (region == nullptr || region->memory == nullptr) return;
    region->cache.reset();
    std::memcpy(region->memory + (to - base), from, bytes);
}

void CCardMemory::Read(void* to, CudaAddress from, std::size_t bytes) const {
    std::shared_ptr<Region> region;
    Region made;  // what is needed to compute items when the lock is free again
    std::uint64_t offset = 0;
    {
        const std::lock_guard lock(m_lock);
        const auto found = FindLocked(from, bytes);
        region = found.second;
        if (region == nullptr) return;
        offset = from - found.first;
        if (region->memory != nullptr) std::memcpy(to, region->memory + offset, bytes);
        made.items = region->items;
    }
    if (region->memory != nullptr) return;
    const auto first = static_cast<std::uint32_t>(offset / kItemBytes);
    const std::vector<EthashItem> items = Compute(made, first, (offset + bytes + kItemBytes - 1) / kItemBytes - first);
    std::memcpy(to, reinterpret_cast<const char*>(items.data()) + (offset - first * kItemBytes), bytes);
}

std::vector<EthashItem> CCardMemory::Compute(const Region& region, std::uint32_t first, std::size_t count) {
    std::vector<EthashItem> items(count);
    std::memset(static_cast<void*>(items.data()), kUnwritten, count * kItemBytes);
    for (std::uint32_t i = 0; i < count;) {
        const auto next = region.items.upper_bound(first + i);
        const auto grid = next == region.items.begin() ? region.items.end() : std::prev(next);
        std::vector<std::uint32_t> indices;
        const std::uint32_t begun = i;
        while (grid != region.items.end() && i < count && first + i - grid->first < grid->second.count)
            indices.push_back(first + i++);
        if (indices.empty()) {
            ++i;
            continue;
        }
        const std::span<EthashItem> these = std::span(items).subspan(begun, indices.size());
        DatasetItems(*grid->second.cache, indices, these);
        for (EthashItem& item : these)
            item.words[3] ^= grid->second.spoiled ? 0x10000U : 0U;
    }
    return items;
}

void CCardMemory::MakeItems(const EthashBuildParameters& build, bool spoiled,
                            const std::vector<std::shared_ptr<const CEthashCache>>& lightCaches) {
    const auto dataset = reinterpret_cast<CudaAddress>(build.dataset);
    const auto words = reinterpret_cast<CudaAddress>(build.cache);
    const std::uint64_t cacheBytes = build.cacheRows.value * kItemBytes;
    const std::lock_guard lock(m_lock);
    const auto [base, target] = FindLocked(dataset, (std::uint64_t{build.firstItem} + build.itemCount) * kItemBytes);
    const auto [cacheBase, source] = FindLocked(words, cacheBytes);
    if (target == nullptr || source == nullptr || source->memory == nullptr) return;  // freed meanwhile, which was told
    if (source->cache == nullptr || source->cache->Epoch().datasetBytes != target->bytes) {
        const auto* const first = reinterpret_cast<const std::uint32_t*>(source->memory + (words - cacheBase));
        source->cache = CEthashCache::FromWords({.cacheBytes = cacheBytes, .datasetBytes = target->bytes}, {},
                                                {first, cacheBytes / sizeof(std::uint32_t)});
        const CEthashCache& made = *source->cache;
        const auto isThis = [&](const auto& each) { return std::ranges::equal(each->Words(), made.Words()); };
        if (!lightCaches.empty() && std::ranges::none_of(lightCaches, isThis)) {
            m_faults.Add("a dataset is made from words that are no light cache");
        }
    }
    target->items.insert_or_assign(build.firstItem, Items{build.itemCount, source->cache, spoiled});
    if (target->memory == nullptr) return;
    const std::vector<EthashItem> items = Compute(*target, build.firstItem, build.itemCount);
    std::memcpy(target->memory + (dataset - base) + build.firstItem * kItemBytes, items.data(), items.size() * kItemBytes);
}

std::shared_ptr<const CEthashCache> CCardMemory::CacheOf(CudaAddress dataset, std::uint64_t bytes) const {
    const std::lock_guard lock(m_lock);
    const auto [base, region] = FindLocked(dataset, bytes);
    if (region == nullptr) return nullptr;
    std::uint64_t next = 0;
    std::shared_ptr<const CEthashCache> cache;
    bool right = base == dataset && region->bytes == bytes;
    for (const auto& [first, made] : region->items) {
        if (cache == nullptr) cache = made.cache;
        const bool same = made.cache == cache || std::ranges::equal(made.cache->Words(), cache->Words());
        right = right && first == next && !made.spoiled && same;
        next = std::uint64_t{first} + made.count;
    }
    if (right && next * kItemBytes == bytes) return cache;
    m_faults.Add("a grid searches a dataset that is not whole or not right");
    return nullptr;
}
