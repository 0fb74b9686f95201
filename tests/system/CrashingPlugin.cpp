// Takes the program down while it is being listed.
#include <windows.h>

#include <cstdint>
#include <cstdlib>

extern "C" {

__declspec(dllexport) uintptr_t GetInterface(uintptr_t argument);
uintptr_t GetInterface(uintptr_t argument) {
    if (std::getenv("QV_ABORT") != nullptr) std::abort();
    *reinterpret_cast<volatile int*>(argument - argument) = 1;
    return 0;
}

}  // extern "C"
