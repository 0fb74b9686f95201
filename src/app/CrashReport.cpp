#include "app/CrashReport.h"

#include <dbghelp.h>
#include <psapi.h>
#include <windows.h>
#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cwchar>
#include <exception>
#include <filesystem>
#include <vector>

#include "common/Format.h"
#include "common/Handle.h"
#include "common/Version.h"
#include "support/EventLog.h"

namespace {

constexpr int kMostFrames = 64;

struct ModulePlace {
    wchar_t path[MAX_PATH] = {};
    DWORD64 offset = 0;

    const wchar_t* Name() const {
        const wchar_t* const separator = std::wcsrchr(path, L'\\');
        return separator != nullptr ? separator + 1 : path;
    }
    bool IsSystem() const {
        const wchar_t* const name = Name();
        constexpr wchar_t kFolder[] = L"\\system32\\";
        constexpr std::size_t kLength = std::size(kFolder) - 1;
        return name >= path + kLength && _wcsnicmp(name - kLength, kFolder, kLength) == 0;
    }
};

// False: no module's file is mapped there. The list of the loaded modules would say so, too, but has a lock.
bool FindModule(DWORD64 address, ModulePlace& place) {
    MEMORY_BASIC_INFORMATION memory = {};
    // NOLINTNEXTLINE(performance-no-int-to-ptr): an address out of a register
    const void* const pointer = reinterpret_cast<const void*>(address);
    if (VirtualQuery(pointer, &memory, sizeof memory) == 0 || memory.Type != MEM_IMAGE) return false;
    if (GetMappedFileNameW(GetCurrentProcess(), memory.AllocationBase, place.path, MAX_PATH) == 0) return false;
    place.path[MAX_PATH - 1] = L'\0';
    place.offset = address - reinterpret_cast<DWORD64>(memory.AllocationBase);
    return true;
}

// To the caller's frame. False: there is none.
bool StepOut(CONTEXT& context) {
    DWORD64 base = 0;
    RUNTIME_FUNCTION* const function = RtlLookupFunctionEntry(context.Rip, &base, nullptr);
    if (function == nullptr) {
        // A function without a frame, or a jump into nowhere: the return address lies on top of the stack.
        // NOLINTNEXTLINE(performance-no-int-to-ptr): an address out of a register
        context.Rip = *reinterpret_cast<const DWORD64*>(context.Rsp);
        context.Rsp += sizeof(DWORD64);
    } else {
        void* handlerData = nullptr;
        DWORD64 frame = 0;
        RtlVirtualUnwind(UNW_FLAG_NHANDLER, base, context.Rip, function, &context, &handlerData, &frame, nullptr);
    }
    return context.Rip != 0;
}

}  // namespace

void WriteCrashPlace(std::span<wchar_t> out, const CONTEXT& context) {
    ModulePlace place;
    const bool inModule = FindModule(context.Rip, place);
    const int written =
        inModule ? FormatTo(out, L"in %s+0x%I64x", place.Name(), place.offset) : FormatTo(out, L"at 0x%I64x", context.Rip);
    if (written < 0 || (inModule && !place.IsSystem())) return;
    CONTEXT frame = context;
    for (int i = 0; i < kMostFrames && StepOut(frame); ++i) {
        if (!FindModule(frame.Rip, place) || place.IsSystem()) continue;
        FormatTo(out.subspan(static_cast<std::size_t>(written)), L", called from %s+0x%I64x", place.Name(), place.offset);
        return;
    }
}

void LeaveExecutable(CONTEXT& context) {
    const auto executable = reinterpret_cast<DWORD64>(GetModuleHandleW(nullptr));
    DWORD64 base = executable;
    for (int i = 0; i < kMostFrames && base == executable; ++i) {
        if (!StepOut(context)) return;
        RtlLookupFunctionEntry(context.Rip, &base, nullptr);
    }
}

// After windows.h:

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kKeptDumps = 5;
constexpr DWORD kDumpMilliseconds = 60'000;
constexpr ULONG kReservedStackBytes = 64 << 10;
constexpr DWORD kReporterStackBytes = 256 << 10;
// What the system itself uses for them.
constexpr DWORD kAborted = 0x40000015;
constexpr DWORD kInvalidArgument = 0xC0000417;
constexpr auto kDumpType = static_cast<MINIDUMP_TYPE>(MiniDumpWithIndirectlyReferencedMemory | MiniDumpWithThreadInfo |
                                                      MiniDumpWithUnloadedModules);

// Everything that a crash needs, made beforehand: the crashed thread may hold the heap's lock or have broken the heap.
struct CrashState {
    wchar_t logsFolder[MAX_PATH] = {};
    wchar_t eventFile[MAX_PATH] = {};
    HMODULE dumpLibrary = nullptr;  // stays loaded
    decltype(&MiniDumpWriteDump) writeDump = nullptr;
    HANDLE requested = nullptr;  // never closed: the reporter waits until the process has ended
    HANDLE done = nullptr;
    DWORD reporterId = 0;

    std::atomic<DWORD> crashedId = 0;
    std::atomic<int> entries = 0;  // of the crashed thread
    EXCEPTION_POINTERS* exception = nullptr;
    const wchar_t* what = nullptr;
    wchar_t place[2 * MAX_PATH] = L"in an unknown place";
    wchar_t dumpName[80] = {};
    wchar_t dumpResult[160] = L"; the dump was not finished";
    std::atomic<bool> told = false;
};
CrashState state;

const wchar_t* ExceptionName(DWORD code) {
    switch (code) {
        case EXCEPTION_ACCESS_VIOLATION:
            return L"access violation";
        case EXCEPTION_STACK_OVERFLOW:
            return L"stack overflow";
        case EXCEPTION_ILLEGAL_INSTRUCTION:
            return L"illegal instruction";
        case EXCEPTION_PRIV_INSTRUCTION:
            return L"privileged instruction";
        case EXCEPTION_INT_DIVIDE_BY_ZERO:
            return L"division by zero";
        case EXCEPTION_IN_PAGE_ERROR:
            return L"page that cannot be read from the disk";
        case EXCEPTION_BREAKPOINT:
            return L"breakpoint";
        case 0xC0000374:  // STATUS_HEAP_CORRUPTION
            return L"broken heap";
        case 0xE06D7363:  // C++ as other compilers throw it
            return L"unhandled C++ exception";
        default:
            return L"exception";
    }
}

// "; dump X" or why there is none, for the end of the line.
void WriteDump() {
    if (state.writeDump == nullptr) {
        FormatTo(state.dumpResult, L"; no dump: the system has no dbghelp.dll");
        return;
    }
    SYSTEMTIME now = {};
    GetLocalTime(&now);
    FormatTo(state.dumpName, L"%s_%04u-%02u-%02u_%02u-%02u-%02u.dmp", kApplicationName, now.wYear, now.wMonth, now.wDay,
             now.wHour, now.wMinute, now.wSecond);
    wchar_t path[MAX_PATH + std::size(state.dumpName)];
    FormatTo(path, L"%s%s", state.logsFolder, state.dumpName);
    CHandle file(CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    MINIDUMP_EXCEPTION_INFORMATION information = {state.crashedId, state.exception, FALSE};
    if (file &&
        state.writeDump(GetCurrentProcess(), GetCurrentProcessId(), file.Get(), kDumpType, &information, nullptr, nullptr)) {
        FormatTo(state.dumpResult, L"; dump %s", state.dumpName);
        return;
    }
    FormatTo(state.dumpResult, L"; no dump (error %08lX)", GetLastError());
    file.Close();
    DeleteFileW(path);
}

void Tell() {
    static wchar_t text[1000];
    FormatTo(text, L"crashed: %s (%08lX) %s%s", state.what, state.exception->ExceptionRecord->ExceptionCode, state.place,
             state.dumpResult);
    AppendEvent(state.eventFile, EventKind::Program, L"", text);
    state.told = true;
}

// Has a stack of its own: the crashed thread's may be used up.
DWORD WINAPI ReporterMain(void*) {
    WaitForSingleObject(state.requested, INFINITE);
    WriteDump();
    Tell();
    SetEvent(state.done);
    return 0;
}

// The first crash is the one that counts; the threads that crash because of it wait for the end here.
void ClaimOrWait() {
    const DWORD self = GetCurrentThreadId();
    DWORD nobody = 0;
    if (state.crashedId.compare_exchange_strong(nobody, self) || nobody == self) return;
    if (self == state.reporterId) SetEvent(state.done);
    Sleep(INFINITE);
}

[[noreturn]] void Report(const wchar_t* what, EXCEPTION_POINTERS* exception) {
    ClaimOrWait();
    // A second time: finding the place crashed, too; the line then does without it. A third time: nothing can be done.
    const int entry = ++state.entries;
    if (entry == 1) {
        state.what = what;
        state.exception = exception;
        CreateDirectoryW(state.logsFolder, nullptr);
        WriteCrashPlace(state.place, *exception->ContextRecord);
    }
    if (entry <= 2) {
        if (state.reporterId != 0) SignalObjectAndWait(state.requested, state.done, kDumpMilliseconds, FALSE);
        if (!state.told) Tell();
    }
    TerminateProcess(GetCurrentProcess(), state.exception->ExceptionRecord->ExceptionCode);
    for (;;)
        Sleep(INFINITE);
}

LONG WINAPI OnException(EXCEPTION_POINTERS* exception) {
    Report(ExceptionName(exception->ExceptionRecord->ExceptionCode), exception);
}

// For what is no exception of the system. fromOutside: the executable is only told of it, as the handler of all modules'
// abort.
[[noreturn]] void ReportHere(const wchar_t* what, DWORD code, bool fromOutside = false) {
    static CONTEXT context;
    static EXCEPTION_RECORD record;
    static EXCEPTION_POINTERS pointers = {&record, &context};
    ClaimOrWait();
    RtlCaptureContext(&context);
    if (fromOutside) LeaveExecutable(context);
    record.ExceptionCode = code;
    record.ExceptionFlags = EXCEPTION_NONCONTINUABLE;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): an address out of a register
    record.ExceptionAddress = reinterpret_cast<void*>(context.Rip);
    Report(what, &pointers);
}

[[noreturn]] void OnTerminate() {
    static wchar_t what[300] = L"std::terminate";
    if (const std::exception_ptr exception = std::current_exception()) {
        try {
            std::rethrow_exception(exception);
        } catch (const std::exception& error) {
            FormatTo(what, L"unhandled C++ exception \"%.200S\"", error.what());
        } catch (...) {
            FormatTo(what, L"unhandled C++ exception");
        }
    }
    ReportHere(what, kAborted);
}

void OnAbort(int) {
    ReportHere(L"abort", kAborted, true);
}

void OnInvalidArgument(const wchar_t*, const wchar_t*, const wchar_t*, unsigned, uintptr_t) {
    ReportHere(L"invalid argument to the C runtime", kInvalidArgument, true);
}

void PrepareFiles(const std::wstring& logsFolder) {
    FormatTo(state.logsFolder, L"%s", logsFolder.c_str());
    FormatTo(state.eventFile, L"%s%s_events.log", state.logsFolder, kApplicationName);
}

// The time in a dump's name makes the order of the names that of the dumps.
void RemoveOldDumps() {
    std::vector<fs::path> dumps;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(state.logsFolder, error)) {
        if (entry.path().extension() == L".dmp") dumps.push_back(entry.path());
    }
    std::ranges::sort(dumps);
    for (std::size_t i = 0; i + kKeptDumps < dumps.size(); ++i)
        fs::remove(dumps[i], error);
}

// Now, because the crashed thread may hold the loader's lock.
void LoadDumpWriter() {
    wchar_t path[MAX_PATH] = {};
    const UINT length = GetSystemDirectoryW(path, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) return;
    state.dumpLibrary = LoadLibraryW((std::wstring(path) + L"\\dbghelp.dll").c_str());
    if (state.dumpLibrary == nullptr) return;
    state.writeDump = reinterpret_cast<decltype(state.writeDump)>(
        reinterpret_cast<void*>(GetProcAddress(state.dumpLibrary, "MiniDumpWriteDump")));
}

void StartReporter() {
    state.requested = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    state.done = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (state.requested == nullptr || state.done == nullptr) return;
    const CHandle thread(CreateThread(nullptr, kReporterStackBytes, &ReporterMain, nullptr,
                                      STACK_SIZE_PARAM_IS_A_RESERVATION, &state.reporterId));
    if (!thread) state.reporterId = 0;
}

// Windows 7 would swallow what happens in a window procedure that the kernel calls.
void LetExceptionsLeaveCallbacks() {
    constexpr DWORD kFilterEnabled = 1;
    const HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
    if (kernel == nullptr) return;
    const auto get = reinterpret_cast<BOOL(WINAPI*)(DWORD*)>(
        reinterpret_cast<void*>(GetProcAddress(kernel, "GetProcessUserModeExceptionPolicy")));
    const auto set = reinterpret_cast<BOOL(WINAPI*)(DWORD)>(
        reinterpret_cast<void*>(GetProcAddress(kernel, "SetProcessUserModeExceptionPolicy")));
    DWORD policy = 0;
    if (get != nullptr && set != nullptr && get(&policy)) set(policy & ~kFilterEnabled);
}

}  // namespace

// Where the slot of a pure virtual function leads; takes the place of the C++ library's.
extern "C" [[noreturn]] void __cxa_pure_virtual();   // NOLINT(bugprone-reserved-identifier)
extern "C" [[noreturn]] void __cxa_pure_virtual() {  // NOLINT(bugprone-reserved-identifier)
    ReportHere(L"pure virtual call", kAborted);
}

void InstallCrashReport(const std::wstring& logsFolder) {
    PrepareFiles(logsFolder);
    RemoveOldDumps();
    LoadDumpWriter();
    StartReporter();
    ULONG reserved = kReservedStackBytes;
    SetThreadStackGuarantee(&reserved);
    SetErrorMode(SetErrorMode(0) | SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    _set_error_mode(_OUT_TO_STDERR);
    LetExceptionsLeaveCallbacks();
    SetUnhandledExceptionFilter(&OnException);
    std::set_terminate(&OnTerminate);
    std::signal(SIGABRT, &OnAbort);
    _set_invalid_parameter_handler(&OnInvalidArgument);
}
