#include "pool/StratumHost.h"
