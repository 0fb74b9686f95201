#pragma once
#include <windows.h>

inline constexpr int kForwardingId = 102;

struct ForwardedMessage {
    UINT message;
    WPARAM workBlock;
};

// Export "TakeForwarded": copies at most capacity messages, forgets all, returns how many there were.
using TakeForwardedFunction = unsigned (*)(ForwardedMessage* messages, unsigned capacity);
