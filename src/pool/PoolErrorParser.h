#pragma once
#include "config/PoolError.h"
#include "pool/JsonText.h"

// The error that a reply's "error" member stands for: [code, text, ...], {"code", "message"}, a text or a code alone.
// now: its time when it is one. gpuIndex stays -1.
PoolError ParsePoolError(const JsonValue& value, ddt_datetime now);
