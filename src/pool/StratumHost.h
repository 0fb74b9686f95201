#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include "common/ProxyAddress.h"
#include "config/PoolEntry.h"
#include "quorvel/plugin.h"

// What a stratum session needs of its surroundings. Every operation is called on the session's I/O thread (DefaultWorkerName
// also on the GUI thread, Proxy on that alone), must not block and must not wait for the GUI.
class IStratumHost {
  public:
    virtual ~IStratumHost() = default;
    // The counters of the GPU with that CUDA id, or null.
    virtual CMiningStatistics* FindStatistics(std::int32_t cudaId) = 0;
    // A pool error was recorded: for the controller, when one is connected.
    virtual void PoolErrorHappened(const PoolError& error) = 0;
    // Asks the main window to stop mining: the pool refused the user, or no protocol mode worked. reason: for the user,
    // narrow text.
    virtual void RequestStopMining(const std::string& reason) = 0;
    virtual std::wstring DefaultWorkerName() = 0;
    // GUI thread: the proxy that pools are reached through.
    virtual ProxyAddress Proxy() { return {}; }
};

// The effects of a stratum session, supplied by whoever owns its connection. Called on the session's I/O thread (PostWork
// also on the GUI thread); none may block.
class IStratumOutput {
  public:
    virtual ~IStratumOutput() = default;
    // One whole request; also called on the plug-in's threads. 0, or why it was not sent (a Windows Sockets code).
    virtual std::uint32_t SendText(std::string_view text) = 0;
    // Called within an event: the connection is to end as soon as the event has been dealt with; it then comes back as
    // ConnectError (text, code) and Disconnected.
    virtual void DropConnection(const std::string& text, std::uint32_t code) = 0;
    // Posts a message (0x2402, 0x2405 to 0x2408) about the session's work block to the plug-in. Called under a lock.
    virtual void PostWork(unsigned message) = 0;
    // Asks the manager to connect the session to its current pool, which is a new one.
    virtual void PostPoolSwitch() = 0;
    // One line in the session's log; narrow text.
    virtual void LogText(const std::string& text) = 0;
};
