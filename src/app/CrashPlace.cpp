#include "app/CrashPlace.h"

#include <psapi.h>

#include <cwchar>

#include "common/Format.h"

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
