#pragma once
#include "app/QuorvelMinerApp.h"

// The process's application object, for entry points that get no context; null before wWinMain has made it and after.
CQuorvelMinerApp* TheApplication();
