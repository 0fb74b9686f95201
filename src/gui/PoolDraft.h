#pragma once
#include <cstdint>
#include <string>
#include <vector>
#include "config/PoolEntry.h"

// What the user typed for a pool. Portable; one thread.
struct PoolDraft {
    std::wstring name, server, port, walletUser, password, workerOverride;
    std::int32_t algorithm = 0;
};

enum class PoolField { Name, Server, Port, Algorithm, WalletUser, Password, WorkerOverride };

// Why a field cannot be taken over; short, for the user.
struct PoolFieldReason {
    PoolField field;
    std::wstring text;
};
using PoolFieldReasons = std::vector<PoolFieldReason>;

PoolDraft MakePoolDraft(const PoolEntry& pool);
// Texts but for port and password without white space around them.
PoolDraft TrimmedPoolDraft(PoolDraft draft);
// What can be told of the draft alone; at most one reason per field.
PoolFieldReasons CheckPoolDraft(const PoolDraft& draft);
// Takes over a draft without reasons; the rest of the pool stays.
void ApplyPoolDraft(const PoolDraft& draft, PoolEntry& pool);
