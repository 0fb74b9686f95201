/* Quorvel-Miner plug-in interface.
 *
 * A plug-in is a 64-bit DLL in the miner's "Algos" folder that exports GetInterface. The miner speaks to it by window
 * messages and shared memory only. This header compiles as C11 and as C++; every layout in it is binding, because
 * plug-ins are built separately. All integers are little-endian, all structures naturally aligned.
 *
 * Life of a plug-in:
 *  1. At start-up the miner loads every DLL, calls GetInterface(2), copies the descriptor, reads GetUnit and frees the DLL.
 *  2. At each start of mining it loads the DLL again, calls GetInterface(1) on its GUI thread and keeps the returned window.
 *  3. It posts 0x2400, 0x2401, 0x2403, then 0x2408 and whatever job state is known, later single changes.
 *  4. It sends 0x2404 and waits; when that has returned it destroys the window and frees the DLL.
 */
#ifndef QUORVEL_PLUGIN_H
#define QUORVEL_PLUGIN_H

#include <stdint.h>
#include <wchar.h>

#ifdef __cplusplus
#define QV_ASSERT(condition, text) static_assert(condition, text)
extern "C" {
#else
#define QV_ASSERT(condition, text) _Static_assert(condition, text)
#endif

/* ---- GetInterface ------------------------------------------------------------------------------------------------ */

/* Exported by every plug-in. The miner calls it on its GUI thread.
 * argument 2: returns the address of a QvDescriptor, valid until the library is freed.
 * argument 1: creates the plug-in's window and returns its handle (HWND). The window may belong to the calling thread or to
 *             a thread of the plug-in's own; the second keeps job changes independent of the GUI. A plug-in with its own
 *             thread destroys the window and ends that thread before 0x2404 returns. */
typedef uintptr_t (*QvGetInterface)(uintptr_t argument);
enum { QV_INTERFACE_WINDOW = 1, QV_INTERFACE_DESCRIPTOR = 2 };

/* Optional export: the unit of the hash rate, for example L"H/s" (assumed when the export is missing). The text is static.
 */
typedef const wchar_t* (*QvGetUnit)(void);

/* Optional export "GetAbiVersion": the QV_ABI_VERSION that the plug-in was built with (1 without the export). A miner leaves
 * out a plug-in of a later version than its own. */
typedef uint32_t (*QvGetAbiVersion)(void);
enum { QV_ABI_VERSION = 1 };

enum { QV_NAME_CHARS = 160, QV_PATH_CHARS = 260, QV_DESCRIPTOR_BYTES = 844 };

/* What GetInterface(2) points to. The miner copies all 844 bytes and then overwrites libraryPath with the DLL's path.
 * id: algorithm id, by which a pool chooses its plug-in; when two plug-ins have one id, the first one found is used.
 * name: shown to the user; terminated. */
typedef struct QvDescriptor {
    int32_t id;
    wchar_t name[QV_NAME_CHARS];
    wchar_t libraryPath[QV_PATH_CHARS];
} QvDescriptor;

/* ---- Window messages to the plug-in's window --------------------------------------------------------------------- */

enum {
    QV_MSG_SET_OWNER = 0x2400,  /* posted, GUI thread. wParam: the owning manager's window (HWND) */
    QV_MSG_SET_GPUS = 0x2401,   /* posted, GUI thread. wParam: QvGpuRecord* const*, lParam: their number. The array and the
                                   records stay valid until 0x2404 has returned */
    QV_MSG_LOGGED_IN = 0x2402,  /* posted. wParam: work block; its protocolMode is settled */
    QV_MSG_START = 0x2403,      /* posted, GUI thread */
    QV_MSG_STOP = 0x2404,       /* sent (SendMessage), GUI thread: end all threads, touch no shared memory afterwards */
    QV_MSG_NEW_JOB = 0x2405,    /* posted. wParam: work block */
    QV_MSG_NEW_TARGET = 0x2406, /* posted. wParam: work block */
    QV_MSG_NEW_EXTRANONCE = 0x2407, /* posted. wParam: work block */
    QV_MSG_ACTIVATE = 0x2408        /* posted, GUI thread. wParam: the work block to use from now on; the messages that
                                       follow it replay the state of that pool session */
};

/* Messages 0x2402 and 0x2405 to 0x2407 come from a pool session's I/O thread as changes arrive, or from the GUI thread
 * as the replay after 0x2408. */

/* ---- Work block --------------------------------------------------------------------------------------------------- */

enum {
    QV_JOB_ID_BYTES = 128,
    QV_EXTRANONCE_BYTES = 32,
    QV_PARAMETER_SLOTS = 16,
    QV_PARAMETER_BYTES = 512,
    QV_BRANCH_SLOTS = 8,
    QV_BRANCH_BYTES = 128,
    QV_TARGET_BYTES = 32
};

/* The current job of one pool session. Owned and written by that session on its I/O thread; a plug-in reads it after a
 * message names it and never writes it. There is no lock: the message orders the write before the read, and each later
 * write is followed by another message, so a copy that was torn by a newer job is corrected by the message of that job.
 * All narrow texts are terminated. A block stays valid until 0x2404 has returned. */
typedef struct StratumWorkBlock {
    char jobId[QV_JOB_ID_BYTES];                             /* params[0] of the job */
    char extranonce[QV_EXTRANONCE_BYTES];                    /* as received, at most 31 characters */
    char parameters[QV_PARAMETER_SLOTS][QV_PARAMETER_BYTES]; /* the strings of params[1], params[2], ... in order */
    char branches[QV_BRANCH_SLOTS][QV_BRANCH_BYTES];         /* the strings of params[4] when that is an array */
    uint8_t cleanJobs;                                       /* 1: drop earlier jobs; 0: they may still be sent */
    uint8_t padding0[7];
    uint8_t target[QV_TARGET_BYTES]; /* 256-bit share target, most significant byte first */
    int32_t prefixFlag;              /* 1: the pool writes hexadecimal numbers with "0x" */
    int32_t padding1;
    uint64_t reserved0;
    int32_t protocolMode; /* -1 none yet, 0 eth-proxy, 1 plain, 2 NiceHash, 3 host */
    int32_t padding2;
    const wchar_t* workerName; /* read at send time */
    const wchar_t* walletUser; /* read at send time */
    const wchar_t* password;   /* read at send time */
    const char* bareJobId;     /* into jobId: past "0x" and leading zeros */
    void* session;             /* first argument of QuorvelSend */
    uint64_t reserved1;
} StratumWorkBlock;

/* ---- Services of the executable ----------------------------------------------------------------------------------- */

/* Exported by the executable; found with GetProcAddress(GetModuleHandleW(NULL), "QuorvelSend").
 * Sends one request (text of length bytes, ended by a line feed) through the session of a work block. The request id of a
 * share is ((cudaId + 1) << 16) | sequence, by which the miner counts the pool's answer for that GPU.
 * While the session is on its way back to its pool the share is held for a few seconds, and counted as stale if the pool
 * does not give its job again. Any thread; never waits for the GUI; safe while the session is being stopped. Returns 0
 * when the share was sent or is held, or the socket error. */
typedef int (*QvSend)(void* session, const char* text, uint32_t length);

/* Exported as "QuorvelLog": one line in the main log, any thread, never waits for the GUI or the disk. */
typedef void (*QvLog)(const wchar_t* text);

/* ---- GPU records -------------------------------------------------------------------------------------------------- */

enum { QV_HISTORY_LENGTH = 120, QV_UUID_BYTES = 16, QV_GPU_NAME_BYTES = 64 };

typedef struct QvHistory {
    uint64_t values[QV_HISTORY_LENGTH];
    uint64_t bookkeeping[2]; /* [0] next index to write, [1] number of values written, for the plug-in's use */
} QvHistory;

/* Counters and speeds of one GPU. Each is one aligned 64-bit word, read by others without a lock. Each has a single writer
 * but `stale`, in which plug-in and miner both count: add to it atomically (an interlocked increment), never load and store.
 * The block is cleared by the miner at each start of mining, before 0x2401. The first word belongs to the miner. */
typedef struct CMiningStatistics {
#ifdef __cplusplus
    virtual ~CMiningStatistics() = default;
#else
    void* virtualTable;
#endif
    uint64_t reserved0; /* plug-in: free use, not reported */
    uint64_t accepted;  /* miner: shares that the pool accepted */
    uint64_t rejected;  /* miner: shares that the pool rejected */
    uint64_t stale;     /* plug-in and miner: solutions not sent because their job had been replaced, and shares that the
                           miner held back */
    uint64_t solSpeed;  /* plug-in: solutions per second */
    uint64_t hashSpeed; /* plug-in: hashes per second; 0 while the GPU does not hash */
    int64_t lastTime;   /* plug-in: time of the last share sent, 100-ns ticks since 1601 UTC; 0 none */
    int32_t paused;     /* miner: when set, answers are not counted for this GPU */
    int32_t padding0;
    QvHistory hashHistory; /* plug-in: hashSpeed once a second */
    QvHistory solHistory;  /* plug-in: solSpeed once a second */
} CMiningStatistics;

/* PCI identity as NVML reports it (nvmlPciInfo_t, NVML API reference). */
typedef struct QvPciInfo {
    char busIdLegacy[16];
    uint32_t domain;
    uint32_t bus;
    uint32_t device;
    uint32_t pciDeviceId;
    uint32_t pciSubSystemId;
    char busId[32];
} QvPciInfo;

struct PoolEntry; /* the miner's own; opaque here */

typedef struct QvGridWords {
    uint32_t limit;
    uint32_t count;
} QvGridWords;

/* One NVIDIA device. Owned by the miner from start-up to exit; a plug-in writes the statistics only. */
typedef struct QvGpuRecord {
    int32_t cudaId; /* CUDA device index; -1: NVML device without a CUDA twin */
    int32_t padding0;
    void* nvmlDevice;
    int32_t ccMajor;
    int32_t ccMinor;
    int32_t multiProcessors;
    int32_t coresPerMultiProc;
    int32_t totalCores;
    int32_t warpSize;
    int32_t maxThreadsPerMultiProc;
    uint8_t uuid[QV_UUID_BYTES + 1]; /* 16 bytes and a zero */
    char name[QV_GPU_NAME_BYTES];
    uint8_t padding1[3];
    QvPciInfo pci;
    uint32_t padding2;
    uint64_t memoryTotal; /* bytes */

    uint32_t temperature;    /* degrees Celsius */
    uint32_t fanSpeed;       /* per cent */
    uint64_t memoryUsed;     /* bytes */
    uint32_t coreClock;      /* MHz */
    uint32_t memoryClock;    /* MHz */
    uint32_t powerUsage;     /* watts */
    uint32_t gpuUtilization; /* per cent */
    uint32_t telemetryState; /* 0 never read, 1 read without power, 2 read, 7 excluded */
    uint32_t padding3;

    CMiningStatistics statistics;
    const struct PoolEntry* assignedPool; /* never null */
    /* Where the GPU's nonces begin, as its owner wishes. NGM 0: as the plug-in likes. NGM 1: at NGTO, a fraction of the free
     * nonces (2^64 would be all of them; with f free bits the first is NGTO >> (64 - f)). Other modes count as 0, with a
     * line in the log. The miner may change both at any time: read them with an atomic load, for all GPUs at once, when a
     * job begins. A plug-in that takes no notice of them says so in its description. */
    int32_t NGM;
    int32_t padding4;
    uint64_t NGTO;

    int64_t gridTime;
    QvGridWords gridWords[2];
    uint32_t gridCountA;
    uint32_t gridCountB;
} QvGpuRecord;

#ifdef __cplusplus
} /* extern "C" */
#endif

/* ---- The binding layouts ------------------------------------------------------------------------------------------ */

#include <stddef.h>
#if defined(__cplusplus) && defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof" /* the statistics have a virtual table: their layout is still fixed */
#endif
#ifdef _WIN32 /* wide characters of two bytes */
QV_ASSERT(sizeof(QvDescriptor) == QV_DESCRIPTOR_BYTES, "descriptor size");
QV_ASSERT(offsetof(QvDescriptor, name) == 4 && offsetof(QvDescriptor, libraryPath) == 324, "descriptor layout");
#endif
QV_ASSERT(offsetof(StratumWorkBlock, jobId) == 0, "job id");
QV_ASSERT(offsetof(StratumWorkBlock, extranonce) == 128, "extranonce");
QV_ASSERT(offsetof(StratumWorkBlock, parameters) == 160, "job parameters");
QV_ASSERT(offsetof(StratumWorkBlock, branches) == 8352, "branch list");
QV_ASSERT(offsetof(StratumWorkBlock, cleanJobs) == 9376, "clean-jobs flag");
QV_ASSERT(offsetof(StratumWorkBlock, target) == 9384, "share target");
QV_ASSERT(offsetof(StratumWorkBlock, prefixFlag) == 9416, "prefix flag");
QV_ASSERT(offsetof(StratumWorkBlock, reserved0) == 9424, "reserved word");
QV_ASSERT(offsetof(StratumWorkBlock, protocolMode) == 9432, "protocol mode");
QV_ASSERT(offsetof(StratumWorkBlock, workerName) == 9440, "worker name");
QV_ASSERT(offsetof(StratumWorkBlock, walletUser) == 9448, "wallet user");
QV_ASSERT(offsetof(StratumWorkBlock, password) == 9456, "password");
QV_ASSERT(offsetof(StratumWorkBlock, bareJobId) == 9464, "bare job id");
QV_ASSERT(offsetof(StratumWorkBlock, session) == 9472, "session");
QV_ASSERT(offsetof(StratumWorkBlock, reserved1) == 9480, "reserved word");
QV_ASSERT(sizeof(StratumWorkBlock) == 9488, "work block size");
QV_ASSERT(offsetof(CMiningStatistics, reserved0) == 8, "statistics: first counter");
QV_ASSERT(offsetof(CMiningStatistics, accepted) == 16, "statistics: accepted");
QV_ASSERT(offsetof(CMiningStatistics, rejected) == 24, "statistics: rejected");
QV_ASSERT(offsetof(CMiningStatistics, stale) == 32, "statistics: stale");
QV_ASSERT(offsetof(CMiningStatistics, solSpeed) == 40, "statistics: solution speed");
QV_ASSERT(offsetof(CMiningStatistics, hashSpeed) == 48, "statistics: hash speed");
QV_ASSERT(offsetof(CMiningStatistics, lastTime) == 56, "statistics: last time");
QV_ASSERT(offsetof(CMiningStatistics, paused) == 64, "statistics: paused");
QV_ASSERT(offsetof(CMiningStatistics, hashHistory) == 72, "statistics: hash history");
QV_ASSERT(offsetof(CMiningStatistics, solHistory) == 1048, "statistics: solution history");
QV_ASSERT(sizeof(CMiningStatistics) == 2024, "statistics size");
QV_ASSERT(sizeof(QvHistory) == 976, "history size");
QV_ASSERT(sizeof(QvPciInfo) == 68, "PCI info size");
QV_ASSERT(sizeof(QvGridWords) == 8, "grid words size");
QV_ASSERT(offsetof(QvGpuRecord, nvmlDevice) == 8, "GPU record: NVML device");
QV_ASSERT(offsetof(QvGpuRecord, uuid) == 44, "GPU record: uuid");
QV_ASSERT(offsetof(QvGpuRecord, name) == 61, "GPU record: name");
QV_ASSERT(offsetof(QvGpuRecord, pci) == 128, "GPU record: PCI");
QV_ASSERT(offsetof(QvGpuRecord, memoryTotal) == 200, "GPU record: memory");
QV_ASSERT(offsetof(QvGpuRecord, temperature) == 208, "GPU record: telemetry");
QV_ASSERT(offsetof(QvGpuRecord, statistics) == 248, "GPU record: statistics");
QV_ASSERT(offsetof(QvGpuRecord, assignedPool) == 2272, "GPU record: pool");
QV_ASSERT(offsetof(QvGpuRecord, NGM) == 2280, "GPU record: NGM");
QV_ASSERT(offsetof(QvGpuRecord, NGTO) == 2288, "GPU record: NGTO");
QV_ASSERT(offsetof(QvGpuRecord, gridTime) == 2296, "GPU record: grid");
QV_ASSERT(sizeof(QvGpuRecord) == 2328, "GPU record size");
#if defined(__cplusplus) && defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

#endif /* QUORVEL_PLUGIN_H */
