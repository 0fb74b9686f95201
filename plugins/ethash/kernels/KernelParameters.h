#pragma once

// What the host hands to the GPU kernels. Compiled by the host's and by the device's compiler, which agree on these types;
// all integers are little-endian. "Device pointer": an address in the device's memory; "mapped": the device's address of
// page-locked host memory.

// A divisor above 1 and floor(2^32 / value), for a 32-bit remainder by one multiplication and one correction.
struct EthashDivisor {
    unsigned value;
    unsigned reciprocal;
};

// Kernel "ethash_build_dataset": one 64-byte item of the dataset per thread. Blocks of a multiple of 32 threads, up to 256.
struct EthashBuildParameters {
    const void* cache;        // device pointer: the light cache's rows of 64 bytes
    void* dataset;            // device pointer: the whole dataset, items of 64 bytes
    EthashDivisor cacheRows;  // rows in the cache
    unsigned firstItem;       // the first that this grid makes
    unsigned itemCount;       // how many; threads beyond do nothing
};

// What one grid of a search has found.
enum { kEthashMaxSolutions = 32 };
struct EthashSearchResults {
    unsigned solutionCount;  // may be more than are kept
    unsigned skippedBlocks;  // blocks that began after the generation had changed, and hashed nothing; set as the grid ends
    unsigned long long nonces[kEthashMaxSolutions];
};

// A grid's count of its blocks; the last one sets it back to zero.
struct EthashSearchProgress {
    unsigned finishedBlocks;
    unsigned skippedBlocks;
};

// Kernels "ethash_search_2", "ethash_search_4" and "ethash_search_8": the number is how many hashes each group of 8 lanes
// keeps in flight. One nonce per thread, blocks of kEthashSearchThreads threads.
enum { kEthashSearchThreads = 128 };
struct EthashSearchParameters {
    const void* dataset;                      // device pointer: pages of 128 bytes
    const volatile unsigned* generationWord;  // mapped: a block that begins when it is not generation hashes nothing
    EthashSearchResults* results;             // mapped; its counts are zero before the launch
    EthashSearchProgress* progress;           // device pointer; zero before the first launch
    unsigned long long header[4];             // the 32 bytes of the seal hash, in order
    unsigned long long target;                // the most significant 64 bits of a hash up to which a nonce is reported
    unsigned long long firstNonce;
    unsigned nonceCount;  // threads beyond hash nothing that is reported
    unsigned generation;
    EthashDivisor pages;  // pages in the dataset
};

// Blocks of a search that a multiprocessor is to hold, which bounds the registers of a thread: as the kernels are compiled,
// and for the cards of compute capability 6, which need more registers for the same and would spill them.
enum {
    kEthashMinBlocks2 = 6,
    kEthashMinBlocks4 = 6,
    kEthashMinBlocks8 = 4,
    kEthashMinBlocks4Capability6 = 4,
    kEthashMinBlocks8Capability6 = 3
};

// Kernel "ethash_random_reads": what a search reads, without its hashing, to measure what the memory gives at best. Each
// group of 8 lanes follows kEthashReadsInFlight chains of pages, where what was read says which page is next. Blocks of
// kEthashSearchThreads threads.
enum { kEthashReadsInFlight = 4 };
struct EthashReadsParameters {
    const void* dataset;  // device pointer: pages of 128 bytes
    unsigned* sums;       // device pointer: of each thread a number that depends on all it has read
    EthashDivisor pages;  // pages in the dataset
    unsigned steps;       // pages that each chain reads
    unsigned seed;        // other chains for another one
};

static_assert(sizeof(void*) == 8, "64-bit host and device");
static_assert(sizeof(EthashBuildParameters) == 32, "build parameters");
static_assert(sizeof(EthashReadsParameters) == 32, "reads parameters");
static_assert(sizeof(EthashSearchResults) == 264, "search results");
static_assert(sizeof(EthashSearchParameters) == 96, "search parameters");
