#include "ethash/hash/HashMemory.h"

#include <new>
#ifdef _WIN32
#include <windows.h>

#include <memory>
#else
#include <sys/mman.h>
#include <sys/sysinfo.h>
#endif

#ifdef _WIN32
namespace {

// Large pages need a privilege that a user may have been granted; a granted one is still to be switched on.
bool EnableLargePages() {
    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token)) return false;
    const std::unique_ptr<void, decltype(&CloseHandle)> owner(token, CloseHandle);
    TOKEN_PRIVILEGES privileges = {};
    privileges.PrivilegeCount = 1;
    privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    if (!LookupPrivilegeValueW(nullptr, SE_LOCK_MEMORY_NAME, &privileges.Privileges[0].Luid)) return false;
    // Succeeds, too, when it has switched nothing on.
    return AdjustTokenPrivileges(token, FALSE, &privileges, 0, nullptr, nullptr) && GetLastError() == ERROR_SUCCESS;
}

void* AllocateLarge(std::size_t bytes) {
    const std::size_t page = GetLargePageMinimum();
    if (page == 0 || bytes < page || !EnableLargePages()) return nullptr;
    const std::size_t rounded = (bytes + page - 1) / page * page;
    return VirtualAlloc(nullptr, rounded, MEM_RESERVE | MEM_COMMIT | MEM_LARGE_PAGES, PAGE_READWRITE);
}

}  // namespace

CHashMemory::CHashMemory(std::size_t bytes) : m_data(AllocateLarge(bytes)) {
    if (m_data == nullptr) m_data = VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    if (m_data == nullptr) throw std::bad_alloc();
}

CHashMemory::~CHashMemory() {
    VirtualFree(m_data, 0, MEM_RELEASE);
}

PhysicalMemory MachineMemory() {
    MEMORYSTATUSEX status = {};
    status.dwLength = sizeof status;
    if (!GlobalMemoryStatusEx(&status)) return {};
    return {status.ullTotalPhys, status.ullAvailPhys};
}
#else
CHashMemory::CHashMemory(std::size_t bytes) {
    constexpr std::size_t kLargePage = std::size_t{2} << 20;
    m_alignment = bytes < kLargePage ? kCacheLine : kLargePage;
    m_data = ::operator new (bytes, std::align_val_t{m_alignment});
    if (m_alignment == kLargePage) madvise(m_data, bytes / kLargePage * kLargePage, MADV_HUGEPAGE);  // refused: as before
}

CHashMemory::~CHashMemory() {
    ::operator delete (m_data, std::align_val_t{m_alignment});
}

PhysicalMemory MachineMemory() {
    struct sysinfo status = {};
    if (sysinfo(&status) != 0) return {};
    return {std::uint64_t{status.totalram} * status.mem_unit, std::uint64_t{status.freeram} * status.mem_unit};
}
#endif
