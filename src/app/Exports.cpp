// What the executable offers to plug-ins; described in quorvel/plugin.h.
#include <winsock2.h>

#include "app/QuorvelMinerApp.h"
#include "pool/MiningStratum.h"

extern "C" {

__declspec(dllexport) int QuorvelSend(void* session, const char* text, std::uint32_t length);
__declspec(dllexport) void QuorvelLog(const wchar_t* text);

int QuorvelSend(void* session, const char* text, std::uint32_t length) {
    if (session == nullptr || text == nullptr) return WSAENOTCONN;
    return static_cast<int>(static_cast<CMiningStratum*>(session)->Session().SubmitShare({text, length}));
}

void QuorvelLog(const wchar_t* text) {
    CQuorvelMinerApp* application = TheApplication();
    if (application != nullptr && text != nullptr) application->LogPlugIn(text);
}

}  // extern "C"
