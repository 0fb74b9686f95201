#pragma once
#include <string>
#include <string_view>

// The effects of a stratum session, supplied by whoever owns its connection. Called on the session's I/O thread (PostWork
// also on the GUI thread); none may block.
class IStratumOutput {
  public:
    virtual ~IStratumOutput() = default;
    // One whole request.
    virtual void SendText(std::string_view text) = 0;
    // Posts a message (0x2402, 0x2405 to 0x2408) about the session's work block to the plug-in. Called under a lock.
    virtual void PostWork(unsigned message) = 0;
    // Asks the manager to connect the session to its current pool, which is a new one.
    virtual void PostPoolSwitch() = 0;
    // One line in the session's log; narrow text.
    virtual void LogText(const std::string& text) = 0;
};
