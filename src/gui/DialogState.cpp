#include "gui/DialogState.h"

#include <iterator>

namespace {

constexpr std::int32_t kAlways = 1;
constexpr std::int32_t kLastState = 2;

bool ShouldEnter(std::int32_t choice, std::int32_t last, bool resume) {
    return choice == kAlways || ((choice == kLastState || resume) && last == 1);
}

}  // namespace

LabelLook ControlStateLook(std::uint32_t state, std::uint32_t defaultBackground) {
    switch (static_cast<ControlState>(state)) {
        case ControlState::Offline:
            return {L"State: Offline", kRed};
        case ControlState::Listening:
            return {L"State: Listening", kYellow};
        case ControlState::Connected:
            return {L"State: Connected", kGreen};
        default:
            return {L"State: Undefined", defaultBackground};
    }
}

LabelLook MiningStateLook(bool running, MiningHealth health) {
    if (!running) return {L"State: Idle", kYellow};
    const std::uint32_t colors[] = {kGreen, kYellow, kRed};
    return {L"State: Mining", colors[static_cast<std::size_t>(health)]};
}

std::optional<std::size_t> StartChoiceIndex(std::int32_t setting) {
    if (setting < 0 || static_cast<std::size_t>(setting) >= std::size(kControlChoices)) return std::nullopt;
    return static_cast<std::size_t>(setting);
}

bool ShouldStartMining(const RuntimeSettings& settings, bool resume) {
    return ShouldEnter(settings.MiningState, settings.LastMiningState, resume);
}

bool ShouldListen(const RuntimeSettings& settings, bool resume) {
    return ShouldEnter(settings.ControlState, settings.LastControlState, resume);
}
