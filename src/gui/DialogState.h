#pragma once
#include <cstdint>
#include <optional>
#include "common/Messages.h"
#include "config/RuntimeSettings.h"
#include "gui/Colors.h"
#include "gui/MiningView.h"

// The main dialog's states and start-up choices. Portable; any thread.

// defaultBackground: of a label without a state, for any value that is no state.
LabelLook ControlStateLook(std::uint32_t state, std::uint32_t defaultBackground);
// The colour tells whether what runs earns anything.
LabelLook MiningStateLook(bool running, MiningHealth health = MiningHealth::Good);

// What the button does that stands beside the state.
constexpr const wchar_t* ListenButtonText(bool open) {
    return open ? L"Stop listen" : L"Start listen";
}
constexpr const wchar_t* MiningButtonText(bool running) {
    return running ? L"Stop mining" : L"Start mining";
}

// The start-up lists; a text's index is the setting.
inline constexpr const wchar_t* kControlChoices[] = {L"Offline", L"Listen", L"Last state"};
inline constexpr const wchar_t* kMiningChoices[] = {L"Mining stopped", L"Mining started", L"Last state"};

// The item to select; none for a setting out of range.
std::optional<std::size_t> StartChoiceIndex(std::int32_t setting);

// resume: as it was, whatever is chosen.
bool ShouldStartMining(const RuntimeSettings& settings, bool resume = false);
bool ShouldListen(const RuntimeSettings& settings, bool resume = false);
