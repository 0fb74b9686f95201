#pragma once
#include <cstdint>
#include <string>
#include <vector>
#include "config/PoolEntry.h"

// What the user typed for a pool. Portable; one thread.
struct PoolDraft {
    std::wstring name, server, port, walletUser, password, workerOverride;
    std::int32_t algorithm = 0;
    bool operator==(const PoolDraft&) const = default;
};

enum class PoolField { Name, Server, Port, Algorithm, WalletUser, Password, WorkerOverride };

// Why a field cannot be taken over; short, for the user.
struct PoolFieldReason {
    PoolField field;
    std::wstring text;
};
using PoolFieldReasons = std::vector<PoolFieldReason>;

PoolDraft MakePoolDraft(const PoolEntry& pool);
// As it is meant: texts but for port and password without white space around them; of a server that is a URL or names a port
// the host alone, the port where it belongs. A server that cannot be taken apart stays, and CheckPoolDraft says why.
PoolDraft TidyPoolDraft(PoolDraft draft);
// What can be told of the draft alone; at most one reason per field.
PoolFieldReasons CheckPoolDraft(const PoolDraft& draft);
// Takes over a draft without reasons; the rest of the pool stays.
void ApplyPoolDraft(const PoolDraft& draft, PoolEntry& pool);
