#include "ethash/hash/EthashItems.h"

#include <algorithm>
#include <cstring>

#include "ethash/hash/ItemLockstep.h"
#include "ethash/hash/Keccak.h"

EthashItem DatasetItem(const CEthashCache& cache, std::uint32_t index) {
    const std::uint32_t* const rows = cache.Words().data();
    const auto rowCount = static_cast<std::uint32_t>(cache.Words().size() / kItemWords);
    EthashItem item;
    std::memcpy(item.words, rows + std::size_t{index % rowCount} * kItemWords, sizeof item);
    item.words[0] ^= index;
    Keccak512InPlace(item.words);
    for (std::uint32_t step = 0; step < kItemParents; ++step) {
        const std::uint32_t parent = Fnv(index ^ step, item.words[step % kItemWords]) % rowCount;
        MixRow(item.words, rows + std::size_t{parent} * kItemWords);
    }
    Keccak512InPlace(item.words);
    return item;
}

void DatasetItems(const CEthashCache& cache, std::span<const std::uint32_t> indices, std::span<EthashItem> items) {
    const auto form = HasAvx2() ? DatasetItemsAvx2 : DatasetItemsBaseline;
    for (std::size_t done = 0; done < indices.size(); done += kLockstepItems) {
        const std::size_t count = std::min(kLockstepItems, indices.size() - done);
        form(cache, indices.subspan(done, count), items.data() + done);
    }
}

void DatasetItemsBaseline(const CEthashCache& cache, std::span<const std::uint32_t> indices, EthashItem* items) {
    LockstepItems(cache, indices, items, [](EthashItem* all, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            Keccak512InPlace(all[i].words);
    });
}
