#pragma once
#include <string>
#include "common/Time.h"
#include "config/AlgorithmList.h"
#include "config/ConfigurationStore.h"
#include "config/RuntimeSettings.h"
#include "gui/MiningView.h"

// What the main dialog has done by the program around it. GUI thread.
class IMainDialogHost : public IMiningView {
  public:
    virtual RuntimeSettings& Settings() = 0;
    virtual void SaveSettings() = 0;
    virtual CConfigurationStore& Configuration() = 0;
    virtual const CAlgorithmList& Algorithms() const = 0;
    virtual GpuSpan Gpus() const = 0;
    virtual const std::wstring& HostName() const = 0;
    // For "Copy diagnostics".
    virtual std::wstring Diagnostics() const = 0;

    // Who wants what the next message about mining asks for: for the event log.
    virtual void MiningAsked(MiningAsker asker) = 0;
    // There is no configuration: for those who asked from afar.
    virtual void NothingToMine() = 0;
    // The user has saved a configuration.
    virtual void ConfigurationEdited() = 0;
    // Opens the event log in the user's editor.
    virtual void ShowEventLog() = 0;
    // Plug-ins that were left out, and why; empty: none.
    virtual std::wstring LeftOutPlugIns() const = 0;
    // Takes the place of a program that crashed: goes on with what that one did.
    virtual bool Resumes() const = 0;
    // 0: mining runs now.
    virtual int StartMining() = 0;
    virtual void StopMining() = 0;
    // When mining was started last; UTC.
    virtual ddt_datetime MiningStart() const = 0;
    // Reads the sensors of every GPU into its record.
    virtual void ReadTelemetry() = 0;

    // Opens the control channel at the address and port of the settings.
    virtual void OpenControl() = 0;
    virtual void CloseControl() = 0;
    virtual bool IsControlOpen() const = 0;
    // Why the open channel is not safe, for the user; empty when it is.
    virtual std::wstring ControlWarning() const = 0;
    // To the controller, when one is connected.
    virtual void SendUpdateReport() = 0;
};
