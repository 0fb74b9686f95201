#pragma once
#include <string>
#include <string_view>
#include "control/ControlCommand.h"
#include "control/ControlHost.h"

enum class CommandResult {
    Ignored,   // not understood, or incomplete
    Refused,   // without the right token
    Unusable,  // a configuration none of whose pools is usable; the old one stays
    Done,
    SystemWanted,  // done, and the sender waits for the "system" report
};

// Obeys the lines of a controller. One thread at a time; the host is called from within Execute.
class CControlCommands {
  public:
    // token: what each command must bring along, UTF-8; empty: nothing.
    CControlCommands(IControlHost& host, std::string token) : m_host(host), m_token(std::move(token)) {}

    // A line without its delimiter. It is obeyed whole or not at all.
    CommandResult Execute(std::string_view line);

  private:
    CommandResult Do(const ConnectCommand& command);
    CommandResult Do(const WorkerNameCommand& command);
    CommandResult Do(const ConfigurationCommand& command);
    CommandResult Do(const NonceGeneratorCommand& command);
    CommandResult Do(const MiningCommand& command);

    IControlHost& m_host;
    const std::string m_token;
};
