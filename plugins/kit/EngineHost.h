#pragma once
#include <string>
#include <string_view>

// What the engine needs of the program around it. Any of the engine's threads; nothing here waits for the GUI.
class IEngineHost {
  public:
    virtual ~IEngineHost() = default;
    // One request through a work block's session. 0, or why it was not sent.
    virtual int Send(void* session, std::string_view line) = 0;
    // One line in the main log.
    virtual void Log(std::string_view text) = 0;
    // A text of a work block, in the code page in which the miner logs in.
    virtual std::string Narrow(std::wstring_view text) = 0;
    // Called first on each thread that keeps a CPU core busy.
    virtual void HashingThreadStarted() = 0;
    // Called first on each thread that feeds a card: it sleeps most of the time, and has to run at once when a grid ends.
    virtual void CardThreadStarted() = 0;
    // A thread had to be given up: its code must stay until the process ends.
    virtual void KeepCodeLoaded() = 0;
};
