#include "DeviceBuiltins.h"
#include "DeviceKeccak.h"
#include "DeviceMath.h"
#include "KernelParameters.h"

// The kernels of the Ethash family. Lanes work in groups, each lane with a share of four words of a mix, so that a group
// reads a row or page of the memory as a whole.

// The bounds of KernelParameters.h, others to try them, or those that compute capability 6 gets.
#ifdef QV_MIN_BLOCKS
#define QV_MIN_BLOCKS_2 QV_MIN_BLOCKS
#define QV_MIN_BLOCKS_4 QV_MIN_BLOCKS
#define QV_MIN_BLOCKS_8 QV_MIN_BLOCKS
#elif defined(QV_CAPABILITY_6)
#define QV_MIN_BLOCKS_2 kEthashMinBlocks2
#define QV_MIN_BLOCKS_4 kEthashMinBlocks4Capability6
#define QV_MIN_BLOCKS_8 kEthashMinBlocks8Capability6
#else
#define QV_MIN_BLOCKS_2 kEthashMinBlocks2
#define QV_MIN_BLOCKS_4 kEthashMinBlocks4
#define QV_MIN_BLOCKS_8 kEthashMinBlocks8
#endif

static constexpr unsigned kItemBytes = 64;
static constexpr unsigned kPageBytes = 128;
static constexpr unsigned kLanesPerItem = 4;
static constexpr unsigned kParents = 256;
static constexpr unsigned kLanesPerHash = 8;
static constexpr unsigned kAccesses = 64;
static constexpr unsigned kLanesPerWarp = 32;

// The first 64 bytes of a state are four quarters.
QV_DEVICE Words4 QuarterOf(const KeccakState& state, unsigned number) {
    const unsigned long long first = state.words[2 * number];
    const unsigned long long second = state.words[2 * number + 1];
    return {LowWord(first), HighWord(first), LowWord(second), HighWord(second)};
}

QV_DEVICE void SetQuarter(KeccakState& state, unsigned number, const Words4& quarter) {
    state.words[2 * number] = JoinWords(quarter.x, quarter.y);
    state.words[2 * number + 1] = JoinWords(quarter.z, quarter.w);
}

// ---- The dataset

QV_DEVICE void KeccakItem(Words4 (&row)[4]) {
    KeccakState state{};
    QV_UNROLL for (unsigned i = 0; i < 4; ++i) SetQuarter(state, i, row[i]);
    state.words[8] = 0x8000000000000001;  // both bits of the padding
    KeccakPermute(state);
    QV_UNROLL for (unsigned i = 0; i < 4; ++i) row[i] = QuarterOf(state, i);
}

// A lower lane's second and the upper lane's first change places.
QV_DEVICE void ExchangeWords(unsigned& first, unsigned& second, unsigned distance, bool upper) {
    const unsigned received = ShuffleXor(upper ? first : second, distance);
    first = upper ? received : first;
    second = upper ? second : received;
}

QV_DEVICE void Exchange(Words4& first, Words4& second, unsigned distance, bool upper) {
    ExchangeWords(first.x, second.x, distance, upper);
    ExchangeWords(first.y, second.y, distance, upper);
    ExchangeWords(first.z, second.z, distance, upper);
    ExchangeWords(first.w, second.w, distance, upper);
}

// Of four lanes with four quarters each: afterwards lane i holds quarter i of all four. Its own inverse.
QV_DEVICE void Transpose(Words4 (&quarters)[4], unsigned lane) {
    Exchange(quarters[0], quarters[1], 1, (lane & 1) != 0);
    Exchange(quarters[2], quarters[3], 1, (lane & 1) != 0);
    Exchange(quarters[0], quarters[2], 2, (lane & 2) != 0);
    Exchange(quarters[1], quarters[3], 2, (lane & 2) != 0);
}

// One parent for each of the group's four items; kWord is step % 4.
template <unsigned kWord>
QV_DEVICE void MixParents(Words4 (&mixes)[4], const Words4* rows, const EthashDivisor& rowCount, unsigned firstItem,
                          unsigned step) {
    const unsigned owner = step / 4 % kLanesPerItem;
    Words4 parents[4];
    QV_UNROLL for (unsigned i = 0; i < 4; ++i) {
        const unsigned number = Fnv((firstItem + i) ^ (step + kWord), Component<kWord>(mixes[i]));
        const unsigned parent = ShuffleFrom<kLanesPerItem>(Remainder(number, rowCount), owner);
        parents[i] = LoadReadOnly(ElementAt<kItemBytes>(rows, parent));
    }
    QV_UNROLL for (unsigned i = 0; i < 4; ++i) mixes[i] = Fnv(mixes[i], parents[i]);
}

QV_KERNEL(256, 3) ethash_build_dataset(EthashBuildParameters parameters) {
    const unsigned index = BlockInGrid() * ThreadsPerBlock() + ThreadInBlock();
    const unsigned item = parameters.firstItem + index;
    const unsigned lane = index % kLanesPerItem;
    const EthashDivisor rowCount = parameters.cacheRows;
    const auto* const cache = static_cast<const Words4*>(parameters.cache);

    Words4 quarters[4];
    const Words4* const start = ElementAt<kItemBytes>(cache, Remainder(item, rowCount));
    QV_UNROLL for (unsigned i = 0; i < 4; ++i) quarters[i] = LoadReadOnly(start + i);
    quarters[0].x ^= item;
    KeccakItem(quarters);
    Transpose(quarters, lane);
    QV_UNROLL_BY_1 for (unsigned step = 0; step < kParents; step += 4) {
        MixParents<0>(quarters, cache + lane, rowCount, item - lane, step);
        MixParents<1>(quarters, cache + lane, rowCount, item - lane, step);
        MixParents<2>(quarters, cache + lane, rowCount, item - lane, step);
        MixParents<3>(quarters, cache + lane, rowCount, item - lane, step);
    }
    Transpose(quarters, lane);
    KeccakItem(quarters);
    if (index >= parameters.itemCount) return;
    Words4* const made = static_cast<Words4*>(parameters.dataset) + static_cast<unsigned long long>(item) * 4;
    QV_UNROLL for (unsigned i = 0; i < 4; ++i) made[i] = quarters[i];
}

// ---- The search

// One nonce's seed hash in four quarters and, after the walk, its mix. They wait in shared memory, by which the lanes of a
// group hand them to each other, while the registers are the walk's.
struct Hash {
    Words4 seed[4];
    unsigned mix[8];
};
using BlockHashes = Hash[kEthashSearchThreads];

QV_DEVICE void KeccakSeed(const EthashSearchParameters& parameters, unsigned long long nonce, Hash& hash) {
    KeccakState state{};
    QV_UNROLL for (unsigned i = 0; i < 4; ++i) state.words[i] = parameters.header[i];
    state.words[4] = nonce;
    state.words[5] = 1;
    state.words[8] = 0x8000000000000000;
    KeccakPermute(state);
    QV_UNROLL for (unsigned i = 0; i < 4; ++i) hash.seed[i] = QuarterOf(state, i);
}

// The most significant 64 bits of the hash.
QV_DEVICE unsigned long long KeccakFinal(const Hash& hash) {
    KeccakState state{};
    QV_UNROLL for (unsigned i = 0; i < 4; ++i) SetQuarter(state, i, hash.seed[i]);
    QV_UNROLL for (unsigned i = 0; i < 4; ++i) state.words[8 + i] = JoinWords(hash.mix[2 * i], hash.mix[2 * i + 1]);
    state.words[12] = 1;
    state.words[16] = 0x8000000000000000;
    KeccakPermute(state);
    return ReverseBytes(state.words[0]);
}

// Some of the group's hashes on their way through the dataset, a lane's share of each.
template <unsigned kInFlight>
struct Walks {
    Words4 mixes[kInFlight];
    unsigned firstWords[kInFlight];
    unsigned wholeWarp;
};

// One access of each hash; kWord is access % 4. All reads are on their way before the first is waited for. Without the
// barrier at the end the compiler would mix several accesses, at the price of far more registers than it is worth.
template <unsigned kWord, unsigned kInFlight>
QV_DEVICE void MixPages(Walks<kInFlight>& walks, const Words4* dataset, const EthashDivisor& pageCount, unsigned access) {
    const unsigned owner = access / 4 % kLanesPerHash;
    const unsigned number = access + kWord;
    Words4 pages[kInFlight];
    QV_UNROLL for (unsigned i = 0; i < kInFlight; ++i) {
        const unsigned chosen = Fnv(number ^ walks.firstWords[i], Component<kWord>(walks.mixes[i]));
        const unsigned page = ShuffleFrom<kLanesPerHash>(Remainder(chosen, pageCount), owner);
        pages[i] = LoadDataset(ElementAt<kPageBytes>(dataset, page));
    }
    QV_UNROLL for (unsigned i = 0; i < kInFlight; ++i) walks.mixes[i] = Fnv(walks.mixes[i], pages[i]);
    SynchronizeWarp(walks.wholeWarp);
}

// Takes some of the group's eight hashes, from first on, through the dataset.
template <unsigned kInFlight>
QV_DEVICE void WalkDataset(const EthashSearchParameters& parameters, Hash* hashes, unsigned first, unsigned lane) {
    const EthashDivisor pageCount = parameters.pages;
    const Words4* const dataset = static_cast<const Words4*>(parameters.dataset) + lane;
    Walks<kInFlight> walks;
    walks.wholeWarp = WholeWarp();
    QV_UNROLL for (unsigned i = 0; i < kInFlight; ++i) {
        walks.mixes[i] = hashes[first + i].seed[lane % 4];
        walks.firstWords[i] = hashes[first + i].seed[0].x;
    }
    QV_UNROLL_BY_1 for (unsigned access = 0; access < kAccesses; access += 4) {
        MixPages<0>(walks, dataset, pageCount, access);
        MixPages<1>(walks, dataset, pageCount, access);
        MixPages<2>(walks, dataset, pageCount, access);
        MixPages<3>(walks, dataset, pageCount, access);
    }
    QV_UNROLL for (unsigned i = 0; i < kInFlight; ++i) {
        const Words4& words = walks.mixes[i];
        hashes[first + i].mix[lane] = Fnv(Fnv(Fnv(words.x, words.y), words.z), words.w);
    }
}

// Whether the host still wants this block's hashes; the same answer for all of its threads.
QV_DEVICE bool BlockIsCurrent(const EthashSearchParameters& parameters) {
    QV_SHARED(unsigned, current);
    if (ThreadInBlock() == 0) current = *parameters.generationWord == parameters.generation ? 1 : 0;
    SynchronizeBlock();
    return current != 0;
}

// By one thread of the block, as it ends. The grid's last block tells the host how many were skipped.
QV_DEVICE void CountBlock(const EthashSearchParameters& parameters, bool skipped) {
    EthashSearchProgress* const progress = parameters.progress;
    if (skipped) AtomicAdd(&progress->skippedBlocks, 1);
    FenceDevice();
    if (AtomicAdd(&progress->finishedBlocks, 1) != BlocksInGrid() - 1) return;
    FenceDevice();
    parameters.results->skippedBlocks = AtomicAdd(&progress->skippedBlocks, 0);
    progress->finishedBlocks = 0;
    progress->skippedBlocks = 0;
}

QV_DEVICE void Report(EthashSearchResults* results, unsigned long long nonce) {
    const unsigned slot = AtomicAdd(&results->solutionCount, 1);
    if (slot < kEthashMaxSolutions) results->nonces[slot] = nonce;
}

template <unsigned kInFlight>
QV_DEVICE void Search(const EthashSearchParameters& parameters) {
    static_assert(kLanesPerHash % kInFlight == 0, "a group's hashes in whole rounds");
    const unsigned index = BlockInGrid() * kEthashSearchThreads + ThreadInBlock();
    const bool current = BlockIsCurrent(parameters);
    // Warps that lie wholly beyond the nonces have nothing to do; in the others every lane takes part in the exchange.
    if (current && index / kLanesPerWarp * kLanesPerWarp < parameters.nonceCount) {
        const unsigned long long nonce = parameters.firstNonce + index;
        const unsigned lane = index % kLanesPerHash;
        QV_SHARED(BlockHashes, hashes);
        Hash& own = hashes[ThreadInBlock()];
        KeccakSeed(parameters, nonce, own);
        SynchronizeWarp(WholeWarp());
        QV_UNROLL_BY_1 for (unsigned first = 0; first < kLanesPerHash; first += kInFlight) {
            WalkDataset<kInFlight>(parameters, &own - lane, first, lane);
        }
        SynchronizeWarp(WholeWarp());
        const unsigned long long hash = KeccakFinal(own);
        if (index < parameters.nonceCount && hash <= parameters.target) Report(parameters.results, nonce);
    }
    if (ThreadInBlock() == 0) CountBlock(parameters, !current);
}

QV_KERNEL(kEthashSearchThreads, QV_MIN_BLOCKS_2) ethash_search_2(EthashSearchParameters parameters) {
    Search<2>(parameters);
}

QV_KERNEL(kEthashSearchThreads, QV_MIN_BLOCKS_4) ethash_search_4(EthashSearchParameters parameters) {
    Search<4>(parameters);
}

QV_KERNEL(kEthashSearchThreads, QV_MIN_BLOCKS_8) ethash_search_8(EthashSearchParameters parameters) {
    Search<8>(parameters);
}

// ---- The measurement

// Lanes of a group read the same page: that of the lane whose turn it is. Every word that was read goes into the sums, so
// that no read can be left out.
QV_KERNEL(kEthashSearchThreads, 8) ethash_random_reads(EthashReadsParameters parameters) {
    const unsigned index = BlockInGrid() * kEthashSearchThreads + ThreadInBlock();
    const unsigned wholeWarp = WholeWarp();
    const Words4* const dataset = static_cast<const Words4*>(parameters.dataset) + index % kLanesPerHash;
    unsigned sums[kEthashReadsInFlight];
    QV_UNROLL for (unsigned i = 0; i < kEthashReadsInFlight; ++i) {
        sums[i] = Fnv(parameters.seed, index * kEthashReadsInFlight + i) * 0x9e3779b1u;
    }
    QV_UNROLL_BY_1 for (unsigned step = 0; step < parameters.steps; ++step) {
        Words4 pages[kEthashReadsInFlight];
        QV_UNROLL for (unsigned i = 0; i < kEthashReadsInFlight; ++i) {
            const unsigned page = ShuffleFrom<kLanesPerHash>(Remainder(sums[i], parameters.pages), step % kLanesPerHash);
            pages[i] = LoadDataset(ElementAt<kPageBytes>(dataset, page));
        }
        QV_UNROLL for (unsigned i = 0; i < kEthashReadsInFlight; ++i) {
            const Words4& read = pages[i];
            sums[i] = Fnv(Fnv(Fnv(Fnv(sums[i], read.x), read.y), read.z), read.w);
        }
        SynchronizeWarp(wholeWarp);
    }
    unsigned sum = 0;
    QV_UNROLL for (unsigned i = 0; i < kEthashReadsInFlight; ++i) sum = Fnv(sum, sums[i]);
    parameters.sums[index] = sum;
}
