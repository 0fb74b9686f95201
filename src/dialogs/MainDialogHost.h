#pragma once
#include <string>
#include "common/Time.h"
#include "config/AlgorithmList.h"
#include "config/ConfigurationStore.h"
#include "config/RuntimeSettings.h"
#include "gui/MiningView.h"

// What the dialog says of something that runs.
struct DialogNote {
    std::wstring text;       // empty: nothing
    bool isProblem = false;  // it does not do what it should; else a warning
};

// What came of files that could not be read before.
struct LateFiles {
    bool settings = false;       // Settings are the file's now
    bool configuration = false;  // a configuration was published
};

// What the main dialog has done by the program around it. GUI thread.
class IMainDialogHost : public IMiningView {
  public:
    virtual RuntimeSettings& Settings() = 0;
    // What fails is told as trouble and tried again. Never waits.
    virtual void SaveSettings() = 0;
    virtual void SaveConfiguration() = 0;
    // Every second: tries again what could not be saved or read.
    virtual LateFiles RetryFiles() = 0;
    // What was left out of the files as they were read, and where the copies are; empty: nothing.
    virtual std::wstring LoadMessage() const = 0;
    // The latest trouble of files and plug-ins that lasts, for "Error/Msg".
    virtual TimedMessage StandingMessage() const = 0;
    // Saves the configuration and then puts it in force. Why it could not be saved, with the path; nothing has changed then.
    // Empty: done.
    virtual std::wstring ReplaceConfiguration(MinerConfiguration configuration) = 0;
    virtual CConfigurationStore& Configuration() = 0;
    virtual const CAlgorithmList& Algorithms() const = 0;
    virtual GpuSpan Gpus() const = 0;
    virtual const std::wstring& HostName() const = 0;
    // For "Copy diagnostics".
    virtual std::wstring Diagnostics() const = 0;

    // Who wants mining to be started or stopped next: for the event log.
    virtual void MiningAsked(MiningAsker asker) = 0;
    // There is no configuration: for those who asked from afar.
    virtual void NothingToMine() = 0;
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

    // Opens the control channel at the address and port of the settings. Why it is not open, for the user; empty: it is, or
    // goes on trying.
    virtual std::wstring OpenControl() = 0;
    virtual void CloseControl() = 0;
    // It listens, or goes on trying to.
    virtual bool IsControlOpen() const = 0;
    // Why the channel, which should listen, does not, else why it is not safe: one short line for the user.
    virtual DialogNote ControlNote() const = 0;
    // To the controller, when one is connected.
    virtual void SendUpdateReport() = 0;
};
