/* A complete Quorvel-Miner plug-in in one file of plain C11. It mines a toy hash on one CPU thread per GPU, with all that a
 * real plug-in needs around its hashing: copy it, give it an id and a name of your own, and replace ReadJob, HashNonce and
 * WriteShare by what your algorithm's pools want. `devpool --algorithm toy` is a pool for it.
 *
 * Its window belongs to the miner's GUI thread, on which GetInterface is called: the simplest way, right for a plug-in that
 * does little in its window procedure. The procedure must return quickly, because the dialog waits for it. */
#include <windows.h>

#include <process.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "quorvel/plugin.h"

#define TEMPLATE_ID 9 /* which ids are free: sdk/README.md */
static const wchar_t kWindowClass[] = L"QuorvelTemplatePlugin";

static QvDescriptor g_descriptor = {TEMPLATE_ID, L"Template", L""};
static HINSTANCE g_library;

enum {
    kHashBytes = 32,
    kNonceBits = 64,
    kNameBytes = 1024,
    kLineBytes = 2560,
    kBatchHashes = 20000 /* about a millisecond */
};

/* What the threads hash: copied from the work block and checked. */
typedef struct Job {
    int32_t mode;    /* the work block's protocolMode; -1: nothing to hash */
    uint32_t digits; /* of the nonce that are free: 16 but for the extranonce */
    char id[QV_JOB_ID_BYTES];
    char headerText[2 + 2 * kHashBytes + 1]; /* as received */
    uint8_t header[kHashBytes];
    uint8_t target[kHashBytes];    /* a hash up to and including it is a share */
    uint64_t prefix;               /* the part of the nonce that the pool fixed */
    uint64_t base;                 /* where the search begins */
    const StratumWorkBlock* block; /* read again for names only */
    void* session;
} Job;

static const Job kNoJob = {.mode = -1};
struct Session;

typedef struct Worker {
    struct Session* session;
    QvGpuRecord* gpu;
    HANDLE thread;
    size_t part;       /* its place among the threads that divide the nonces */
    uint16_t sequence; /* of its shares */
    uint64_t nonce;    /* next one, of the free digits */
    uint64_t left;
    uint64_t hashes; /* since the second began */
    uint64_t found;
    double hashSpeed; /* averages of a few seconds; below 0: none yet */
    double solSpeed;
    ULONGLONG second; /* when it began */
} Worker;

/* What one mining session knows. A library may run several sessions at once, one for each configuration that mines with its
 * algorithm: keep a session's state with its window, not in global variables. */
typedef struct Session {
    QvLog log; /* null when the executable offers none */
    QvSend send;
    QvGpuRecord* const* gpus;
    size_t gpuCount;
    Worker* workers;              /* null: not started */
    const StratumWorkBlock* work; /* the block named by the latest 0x2408 */
    int isReplay;                 /* no message has come since 0x2408 */
    const char* refusal;          /* why the latest job was refused, said once */
    SRWLOCK lock;                 /* guards job and each change of the two words below it */
    CONDITION_VARIABLE changed;
    Job job;
    volatile LONG generation; /* changes with the job */
    volatile LONG stopping;
} Session;

static void Say(const Session* session, const char* text) {
    wchar_t line[160] = L"Template: ";
    size_t end = 10;
    if (session->log == NULL) return;
    for (; *text != '\0' && end < sizeof line / sizeof *line - 1; ++text)
        line[end++] = (wchar_t)*text;
    session->log(line);
}

static LONG Read(volatile LONG* word) {
    return InterlockedCompareExchange(word, 0, 0);
}

static void Store(uint64_t* word, uint64_t value) {
    InterlockedExchange64((volatile LONG64*)word, (LONG64)value);
}

static void Append(QvHistory* history, uint64_t value) {
    const uint64_t next = history->bookkeeping[0] % QV_HISTORY_LENGTH;
    const uint64_t count = history->bookkeeping[1];
    Store(&history->values[next], value);
    Store(&history->bookkeeping[0], (next + 1) % QV_HISTORY_LENGTH);
    if (count < QV_HISTORY_LENGTH) Store(&history->bookkeeping[1], count + 1);
}

static uint64_t Mixed(uint64_t word) {
    word = (word ^ (word >> 30)) * 0xbf58476d1ce4e5b9u;
    word = (word ^ (word >> 27)) * 0x94d049bb133111ebu;
    return word ^ (word >> 31);
}

/* Of no cryptographic worth. 64-bit FNV-1a over the header and the nonce, most significant byte first, gives a state. Four
 * times the state grows by a constant, and a mixed copy of it is the next 8 bytes of the hash. */
static void HashNonce(const uint8_t header[kHashBytes], uint64_t nonce, uint8_t hash[kHashBytes]) {
    uint64_t state = 0xcbf29ce484222325u;
    for (int i = 0; i < kHashBytes; ++i)
        state = (state ^ header[i]) * 0x100000001b3u;
    for (int shift = kNonceBits - 8; shift >= 0; shift -= 8)
        state = (state ^ (nonce >> shift & 0xff)) * 0x100000001b3u;
    for (int i = 0; i < kHashBytes; i += 8) {
        const uint64_t word = Mixed(state += 0x9e3779b97f4a7c15u);
        for (int byte = 0; byte < 8; ++byte)
            hash[i + byte] = (uint8_t)(word >> (56 - 8 * byte));
    }
}

static const char* WithoutPrefix(const char* text) {
    return text[0] == '0' && (text[1] == 'x' || text[1] == 'X') ? text + 2 : text;
}

/* A number of 1 to 64 digits, filled up with zeros on the left. The texts of a block are terminated. */
static int ReadNumber(const char* text, uint8_t number[kHashBytes]) {
    static const char kDigits[] = "0123456789abcdefABCDEF";
    const char* const digits = WithoutPrefix(text);
    const size_t length = strlen(digits);
    memset(number, 0, kHashBytes);
    if (length == 0 || length > 2 * kHashBytes || strspn(digits, kDigits) != length) return 0;
    for (size_t i = 0; i < length; ++i) {
        const size_t place = 2 * kHashBytes - length + i;
        const int index = (int)(strchr(kDigits, digits[i]) - kDigits);
        const int value = index < 16 ? index : index - 6;
        number[place / 2] = (uint8_t)(number[place / 2] | (place % 2 == 0 ? value << 4 : value));
    }
    return 1;
}

/* The nonce begins with up to 7 whole bytes. */
static int ReadExtranonce(const char* text, Job* job) {
    const uint32_t length = (uint32_t)strlen(WithoutPrefix(text));
    uint8_t number[kHashBytes];
    if (length == 0) return 1;
    if (length % 2 != 0 || length > 14 || !ReadNumber(text, number)) return 0;
    for (int i = 0; i < 8; ++i)
        job->prefix = job->prefix << 8 | number[kHashBytes - 8 + i];
    job->digits -= length;
    job->prefix <<= 4 * job->digits;
    return 1;
}

/* job is all zeros. Null, or why the block cannot be hashed; without a job yet the mode stays -1. */
static const char* ReadJob(const StratumWorkBlock* block, Job* job) {
    static const uint8_t kTargetOfDifficulty1[kHashBytes] = {0, 0, 0, 0, 0xff, 0xff};
    static const uint8_t kNone[kHashBytes] = {0};
    static const char kOfIds[] = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ+-./:=_";
    const int32_t mode = block->protocolMode;
    const int isNiceHash = mode == 2;
    const char* const header = mode == 0 ? block->jobId : block->parameters[isNiceHash ? 1 : 0];
    job->mode = -1;
    if (mode == -1 || block->jobId[0] == '\0') return NULL;
    if (mode < 0 || mode > 3) return "the pool speaks an unknown protocol";
    if (block->jobId[strspn(block->jobId, kOfIds)] != '\0') return "the job's id has odd characters";
    if (strlen(WithoutPrefix(header)) != 2 * kHashBytes || !ReadNumber(header, job->header))
        return "the header is not 32 bytes";
    job->digits = kNonceBits / 4;
    if (isNiceHash) {
        const int isUnset = memcmp(block->target, kNone, kHashBytes) == 0;
        memcpy(job->target, isUnset ? kTargetOfDifficulty1 : block->target, kHashBytes);
        if (!ReadExtranonce(block->extranonce, job)) return "the extranonce is not 0 to 7 whole bytes";
    } else if (!ReadNumber(block->parameters[mode == 0 ? 1 : 2], job->target)) {
        return "the boundary is not a number of up to 32 bytes";
    }
    memcpy(job->id, block->jobId, strlen(block->jobId));
    memcpy(job->headerText, header, strlen(header));
    job->session = block->session;
    job->mode = mode;
    return NULL;
}

/* One of the block's names in the code page of the login, fit for a JSON string. The miner may exchange the pointer at any
 * time; what it points to stays. */
static void ReadName(const wchar_t* const* field, char name[kNameBytes]) {
    const wchar_t* text = *(const wchar_t* const volatile*)field;
    wchar_t escaped[kNameBytes / 3];
    size_t length = 0;
    for (; text != NULL && *text != L'\0' && length < sizeof escaped / sizeof *escaped - 2; ++text) {
        if (*text < L' ') continue;
        if (*text == L'"' || *text == L'\\') escaped[length++] = L'\\';
        escaped[length++] = *text;
    }
    escaped[length] = L'\0';
    if (WideCharToMultiByte(CP_ACP, 0, escaped, -1, name, kNameBytes, NULL, NULL) == 0) name[0] = '\0';
}

/* The request with which the job's dialect sends a share. */
static int WriteShare(char line[kLineBytes], uint32_t id, const Job* job, uint64_t nonce, const uint8_t hash[kHashBytes]) {
    char wallet[kNameBytes], worker[kNameBytes], nonceText[17], hashText[2 * kHashBytes + 1];
    ReadName(&job->block->walletUser, wallet);
    ReadName(&job->block->workerName, worker);
    snprintf(nonceText, sizeof nonceText, "%08x%08x", (uint32_t)(nonce >> 32), (uint32_t)nonce);
    for (int i = 0; i < kHashBytes; ++i)
        snprintf(hashText + 2 * i, 3, "%02x", hash[i]);
    switch (job->mode) {
        case 0:
            return snprintf(
                line, kLineBytes,
                "{\"id\":%u,\"method\":\"eth_submitWork\",\"worker\":\"%s\",\"params\":[\"0x%s\",\"%s\",\"0x%s\"]}\n", id,
                worker, nonceText, job->headerText, hashText);
        case 2:
            return snprintf(line, kLineBytes,
                            "{\"id\":%u,\"method\":\"mining.submit\",\"params\":[\"%s.%s\",\"%s\",\"%s\"]}\n", id, wallet,
                            worker, job->id, nonceText + (16 - job->digits));
        default: /* 1 and 3 */
            return snprintf(
                line, kLineBytes,
                "{\"id\":%u,%s\"method\":\"mining.submit\",\"params\":[\"%s%s%s\",\"%s\",\"0x%s\",\"%s\",\"0x%s\"]}\n", id,
                job->mode == 1 ? "\"jsonrpc\":\"2.0\"," : "", wallet, job->mode == 1 ? "." : "",
                job->mode == 1 ? worker : "", job->id, nonceText, job->headerText, hashText);
    }
}

static void SendShare(Worker* worker, const Job* job, uint64_t nonce, const uint8_t hash[kHashBytes]) {
    char line[kLineBytes];
    FILETIME now;
    const uint32_t id = ((uint32_t)worker->gpu->cudaId + 1) << 16 | worker->sequence++;
    const int length = WriteShare(line, id, job, nonce, hash);
    if (worker->session->send == NULL) return;
    /* What cannot be sent the miner counts and reports. */
    if (worker->session->send(job->session, line, (uint32_t)length) != 0) return;
    GetSystemTimeAsFileTime(&now);
    Store((uint64_t*)&worker->gpu->statistics.lastTime, (uint64_t)now.dwHighDateTime << 32 | now.dwLowDateTime);
}

static void BeginSearch(Worker* worker, const Job* job) {
    const uint64_t all = job->mode < 0 ? 0 : ~(uint64_t)0 >> (kNonceBits - 4 * job->digits);
    worker->left = all / worker->session->gpuCount;
    worker->nonce = job->base + worker->part * worker->left;
}

static double Averaged(double average, double latest) {
    return average < 0 ? latest : average + (latest - average) / 4;
}

/* Speeds and histories, once a second. Without work the speeds are 0 at once. */
static void KeepStatistics(Worker* worker, int isHashing) {
    CMiningStatistics* const statistics = &worker->gpu->statistics;
    const ULONGLONG now = GetTickCount64();
    if (!isHashing) {
        worker->hashSpeed = worker->solSpeed = -1;
        Store(&statistics->hashSpeed, 0);
        Store(&statistics->solSpeed, 0);
    }
    if (now - worker->second < 1000) return;
    if (isHashing) {
        const double seconds = (double)(now - worker->second) / 1000;
        worker->hashSpeed = Averaged(worker->hashSpeed, (double)worker->hashes / seconds);
        worker->solSpeed = Averaged(worker->solSpeed, (double)worker->found / seconds);
        Store(&statistics->hashSpeed, (uint64_t)worker->hashSpeed);
        Store(&statistics->solSpeed, (uint64_t)worker->solSpeed);
    }
    Append(&statistics->hashHistory, statistics->hashSpeed);
    Append(&statistics->solHistory, statistics->solSpeed);
    worker->hashes = worker->found = 0;
    worker->second = now;
}

static void HashBatch(Worker* worker, const Job* job, LONG generation) {
    const uint64_t mask = ~(uint64_t)0 >> (kNonceBits - 4 * job->digits);
    const uint64_t count = worker->left < kBatchHashes ? worker->left : kBatchHashes;
    for (uint64_t i = 0; i < count; ++i) {
        const uint64_t nonce = job->prefix | (worker->nonce++ & mask);
        uint8_t hash[kHashBytes];
        HashNonce(job->header, nonce, hash);
        if (memcmp(hash, job->target, kHashBytes) > 0) continue;
        ++worker->found;
        if (Read(&worker->session->stopping)) return;
        if (Read(&worker->session->generation) == generation) {
            SendShare(worker, job, nonce, hash);
        } else {
            InterlockedIncrement64((volatile LONG64*)&worker->gpu->statistics.stale);
        }
    }
    worker->left -= count;
    worker->hashes += count;
}

static unsigned __stdcall RunWorker(void* parameter) {
    Worker* const worker = parameter;
    Session* const session = worker->session;
    LONG generation = -1; /* of the job */
    Job job = kNoJob;
    /* The miner's own threads go first. */
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_BELOW_NORMAL);
    worker->second = GetTickCount64();
    while (!Read(&session->stopping)) {
        if (Read(&session->generation) != generation) {
            AcquireSRWLockShared(&session->lock);
            job = session->job;
            generation = session->generation;
            ReleaseSRWLockShared(&session->lock);
            BeginSearch(worker, &job);
        }
        KeepStatistics(worker, job.mode >= 0 && worker->left != 0);
        if (job.mode >= 0 && worker->left != 0) {
            HashBatch(worker, &job, generation);
            continue;
        }
        AcquireSRWLockShared(&session->lock);
        if (session->generation == generation && !session->stopping)
            SleepConditionVariableSRW(&session->changed, &session->lock, 1000, CONDITION_VARIABLE_LOCKMODE_SHARED);
        ReleaseSRWLockShared(&session->lock);
    }
    KeepStatistics(worker, 0);
    return 0;
}

/* job: null to end the threads. */
static void Publish(Session* session, const Job* job) {
    AcquireSRWLockExclusive(&session->lock);
    if (job != NULL) memcpy(&session->job, job, sizeof *job); /* with its padding: Follow compares bytes */
    if (job == NULL) InterlockedExchange(&session->stopping, 1);
    InterlockedIncrement(&session->generation);
    ReleaseSRWLockExclusive(&session->lock);
    WakeAllConditionVariable(&session->changed);
}

static void Start(Session* session) {
    if (session->workers != NULL || session->gpuCount == 0) return;
    session->workers = calloc(session->gpuCount, sizeof *session->workers);
    if (session->send == NULL) Say(session, "the program offers no QuorvelSend: shares cannot be sent");
    if (session->workers == NULL) Say(session, "not hashing: there is no memory");
    for (size_t i = 0; session->workers != NULL && i < session->gpuCount; ++i) {
        Worker* const worker = &session->workers[i];
        worker->session = session;
        worker->gpu = session->gpus[i];
        worker->part = i;
        if (worker->gpu->cudaId < 0) continue; /* its shares could not be told from the miner's own requests */
        worker->thread = (HANDLE)_beginthreadex(NULL, 0, RunWorker, worker, 0, NULL);
        if (worker->thread == NULL) {
            char text[64];
            snprintf(text, sizeof text, "GPU %d: not hashing: there is no thread", (int)worker->gpu->cudaId);
            Say(session, text);
        }
    }
}

/* After it nothing that the miner gave is touched. */
static void Stop(Session* session) {
    Publish(session, NULL);
    for (size_t i = 0; session->workers != NULL && i < session->gpuCount; ++i) {
        if (session->workers[i].thread == NULL) continue;
        WaitForSingleObject(session->workers[i].thread, INFINITE);
        CloseHandle(session->workers[i].thread);
    }
    free(session->workers);
    session->workers = NULL;
    session->gpuCount = 0;
    session->work = NULL;
}

static void Follow(Session* session) {
    StratumWorkBlock copy;
    Job job;
    const char* refusal;
    LARGE_INTEGER counter;
    memset(&job, 0, sizeof job);
    memcpy(&copy, session->work, sizeof copy);
    refusal = ReadJob(&copy, &job);
    if (refusal != NULL) job = kNoJob;
    if (refusal != NULL && refusal != session->refusal) Say(session, refusal);
    session->refusal = refusal;
    job.block = session->work;
    job.base = session->job.base;
    if (memcmp(&job, &session->job, sizeof job) == 0) return; /* the replay of what is being hashed */
    /* Two searches of one job, on two rigs say, should not repeat each other. This plug-in takes no notice of NGM and NGTO.
     */
    QueryPerformanceCounter(&counter);
    job.base = Mixed((uint64_t)counter.QuadPart ^ (uint64_t)GetCurrentProcessId() << 32 ^ (uint64_t)(uintptr_t)session);
    Publish(session, &job);
}

static void WorkChanged(Session* session, UINT message, const StratumWorkBlock* work) {
    const int isReplay = session->isReplay;
    if (message == QV_MSG_ACTIVATE) session->work = work;
    /* A message of a pool that is no longer the source of work may arrive late. */
    if (work == NULL || work != session->work || session->stopping) return;
    session->isReplay = message == QV_MSG_ACTIVATE;
    /* In mode 2 target and extranonce hold from the next job on, and a login leaves the job of the connection before. */
    if (work->protocolMode != 2 || message == QV_MSG_ACTIVATE || message == QV_MSG_NEW_JOB) {
        Follow(session);
    } else if (message == QV_MSG_LOGGED_IN && !isReplay) {
        Publish(session, &kNoJob);
    }
}

static LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    Session* session = (Session*)GetWindowLongPtrW(window, GWLP_USERDATA);
    if (session == NULL) return DefWindowProcW(window, message, wParam, lParam);
    switch (message) {
        case QV_MSG_SET_OWNER: /* wParam: the manager's window, should you want to post to it */
            return 0;
        case QV_MSG_SET_GPUS:
            /* The array and the records stay valid until 0x2404 has returned. */
            session->gpus = (QvGpuRecord* const*)wParam;
            session->gpuCount = (size_t)lParam;
            return 0;
        case QV_MSG_START:
            Start(session);
            return 0;
        case QV_MSG_STOP:
            Stop(session);
            return 0;
        case QV_MSG_LOGGED_IN:
        case QV_MSG_NEW_JOB:
        case QV_MSG_NEW_TARGET:
        case QV_MSG_NEW_EXTRANONCE:
        case QV_MSG_ACTIVATE:
            WorkChanged(session, message, (const StratumWorkBlock*)wParam);
            return 0;
        case WM_NCDESTROY:
            SetWindowLongPtrW(window, GWLP_USERDATA, 0);
            Stop(session);
            free(session);
            return 0;
        default:
            return DefWindowProcW(window, message, wParam, lParam);
    }
}

/* Services of the executable are found by name; the double cast keeps compilers from warning about function types. */
static void* Service(const char* name) {
    return (void*)(uintptr_t)GetProcAddress(GetModuleHandleW(NULL), name);
}

static HWND OpenSession(void) {
    WNDCLASSEXW windowClass = {0};
    Session* session = calloc(1, sizeof *session);
    HWND window;
    if (session == NULL) return NULL;
    session->log = (QvLog)(uintptr_t)Service("QuorvelLog");
    session->send = (QvSend)(uintptr_t)Service("QuorvelSend");
    session->job = kNoJob;
    InitializeSRWLock(&session->lock);
    InitializeConditionVariable(&session->changed);

    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = WindowProcedure;
    windowClass.hInstance = g_library;
    windowClass.lpszClassName = kWindowClass;
    RegisterClassExW(&windowClass); /* fails for the second session: the class is there already */
    window = CreateWindowExW(0, kWindowClass, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, NULL, g_library, NULL);
    if (window == NULL) {
        free(session);
        return NULL;
    }
    SetWindowLongPtrW(window, GWLP_USERDATA, (LONG_PTR)session);
    return window;
}

__declspec(dllexport) uintptr_t GetInterface(uintptr_t argument) {
    switch (argument) {
        case QV_INTERFACE_DESCRIPTOR:
            return (uintptr_t)&g_descriptor;
        case QV_INTERFACE_WINDOW:
            return (uintptr_t)OpenSession();
        default:
            return 0;
    }
}

__declspec(dllexport) const wchar_t* GetUnit(void) {
    return L"H/s";
}

__declspec(dllexport) uint32_t GetAbiVersion(void) {
    return QV_ABI_VERSION;
}

BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, LPVOID reserved) {
    if (reason == DLL_PROCESS_ATTACH) {
        g_library = library;
    }
    /* A window class outlives its library unless it is taken back (at the end of the process there is no need to). */
    if (reason == DLL_PROCESS_DETACH && reserved == NULL) UnregisterClassW(kWindowClass, library);
    return TRUE;
}
