#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>
#include "common/Messages.h"
#include "config/MinerConfiguration.h"
#include "config/PoolEntry.h"

// What the control channel needs of the program around it; supplied by the application, outlives the channel.
//
// Threads: the operations of the first group are called on the channel's I/O thread alone, one at a time; those of the
// second group on any thread that sends a report, too (the GUI thread, pool sessions). None may wait for the GUI thread,
// which itself waits for the I/O thread when the channel is closed: what the dialog is to do is posted to it. Touching the
// disk is allowed in the first group.
class IControlHost {
  public:
    virtual ~IControlHost() = default;

    // Connected when a controller was accepted, Listening when its connection has ended, Offline when the channel has ended
    // by itself. Close reports nothing: whoever calls it knows.
    virtual void ControlStateChanged(ControlState state) = 0;
    // Makes it the default worker name (at most 17 characters), saves the configuration and tells the dialog.
    virtual void SetWorkerName(std::wstring_view name) = 0;
    // A builder of an empty configuration with the present default worker name.
    virtual CConfigurationBuilder MakeBuilder() = 0;
    // Puts the configuration in force whole, saves it and tells the dialog.
    virtual void PublishConfiguration(MinerConfiguration configuration) = 0;
    // Asks the dialog to start or to stop mining.
    virtual void RequestMining(bool start) = 0;

    virtual bool IsMining() const = 0;
    // In the order of discovery; constant, like the identity in the records, while the channel exists.
    virtual GpuSpan Gpus() const = 0;
    // What keeps the rig from mining now.
    virtual std::vector<PoolError> Troubles() const = 0;
    virtual std::wstring HostName() const = 0;
    // One line in the main log.
    virtual void LogLine(const std::wstring& text) = 0;
};
