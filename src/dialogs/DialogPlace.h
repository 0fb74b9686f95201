#pragma once
#include <windows.h>
#include <string>
#include "dialogs/MainDialogHost.h"

// Puts a dialog where it was last, as far as that is on a screen; an empty place leaves it where it is.
enum class KeptSize { Ignored, Restored };
void RestoreDialogPlace(HWND dialog, const SettingsRect& place, KeptSize size = KeptSize::Ignored);
void KeepDialogPlace(HWND dialog, SettingsRect& place);

// A message or another dialog of its own waits for an answer. It disables the dialog, but not for messages that are posted
// again and again.
bool HasMessageOpen(HWND dialog);

// A warning that can be answered with OK or Cancel.
bool AskWhether(HWND dialog, const std::wstring& question);

// Saves and publishes what a dialog edited and has the main dialog (the owner) show it. False, with nothing changed: it
// could not be saved, and the user was told why; or another configuration was published meanwhile, and he wants to keep that
// one.
bool PublishConfiguration(HWND dialog, IMainDialogHost& host, bool isBasedOnCurrent, MinerConfiguration configuration);

template <typename Model>
bool PublishEdited(HWND dialog, IMainDialogHost& host, const Model& model) {
    CConfigurationStore& store = host.Configuration();
    return PublishConfiguration(dialog, host, model.IsBasedOn(store.Current()), model.Build(store.MakeBuilder()));
}
