#include "control/ControlCommands.h"
#include "common/TextCompare.h"
#include "control/ApplyConfiguration.h"
#include "control/ControlCommandParser.h"
#include "control/ControlSecurity.h"

CommandResult CControlCommands::Execute(std::string_view line) {
    const std::optional<ControlCommand> command = ParseCommand(line);
    if (!command) return CommandResult::Ignored;
    if (!m_token.empty() && !(command->token && EqualSecrets(*command->token, m_token))) return CommandResult::Refused;
    return std::visit([this](const auto& body) { return Do(body); }, command->body);
}

CommandResult CControlCommands::Do(const ConnectCommand& command) {
    if (command.workerName) m_host.SetWorkerName(command.workerName->data());
    return CommandResult::SystemWanted;
}

CommandResult CControlCommands::Do(const WorkerNameCommand& command) {
    m_host.SetWorkerName(command.workerName.data());
    return CommandResult::Done;
}

CommandResult CControlCommands::Do(const ConfigurationCommand& command) {
    std::optional<MinerConfiguration> configuration = BuildConfiguration(command, m_host.MakeBuilder());
    if (!configuration) return CommandResult::Unusable;
    m_host.PublishConfiguration(std::move(*configuration));
    return CommandResult::Done;
}

CommandResult CControlCommands::Do(const NonceGeneratorCommand& command) {
    QvGpuRecord* const gpu = m_host.MakeBuilder().FindGpu(command.gpuId);
    if (gpu == nullptr) return CommandResult::Ignored;
    ApplyGpuSetting({gpu, command.NGM, command.NGTO});
    return CommandResult::Done;
}

CommandResult CControlCommands::Do(const MiningCommand& command) {
    m_host.RequestMining(command.start);
    return CommandResult::Done;
}
