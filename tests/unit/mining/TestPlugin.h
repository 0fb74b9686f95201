#pragma once
#include <windows.h>

// What the recorder plug-in was told, in order. Its window belongs to the thread that called GetInterface.
struct RecordedMessage {
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
};

inline constexpr int kRecorderId = 100;
inline constexpr int kNullWindowId = 101;

// Export "TakeMessages": copies at most capacity messages, forgets all, returns how many there were.
using TakeMessagesFunction = unsigned (*)(RecordedMessage* messages, unsigned capacity);
