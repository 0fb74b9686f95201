#pragma once
#include <array>
#include <cstdint>
#include <string>
#include <vector>
#include "config/PoolFields.h"

// What the user typed for a pool: a text for each field but the algorithm, which is chosen. Portable; one thread.
struct PoolDraft {
    std::array<std::wstring, kPoolFields.size()> texts;
    std::int32_t algorithm = 0;

    std::wstring& operator[](PoolField field) { return texts[static_cast<std::size_t>(field)]; }
    const std::wstring& operator[](PoolField field) const { return texts[static_cast<std::size_t>(field)]; }
    bool operator==(const PoolDraft&) const = default;
};

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
