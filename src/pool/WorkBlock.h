#pragma once
#include "pool/JsonText.h"
#include "quorvel/plugin.h"

// How a session fills its work block. A text longer than its slot is cut; the last byte of a slot is never anything but NUL,
// so a plug-in that reads while a slot is rewritten finds a terminated text all the same.

// Clears job, extranonce and target.
void ClearWork(StratumWorkBlock& block);

// params: the parameters of a job. False, with nothing changed: null, or no list that starts with a job id (a text or a
// number).
bool FillJob(const JsonValue* params, StratumWorkBlock& block);

// False, with nothing changed: null, or no text.
bool FillExtranonce(const JsonValue* value, StratumWorkBlock& block);
