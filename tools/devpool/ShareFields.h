#pragma once
#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Dialect.h"
#include "Request.h"
#include "ethash/hash/Ethash.h"

// A share as submitted. What a dialect does not carry is absent.
struct ShareFields {
    std::optional<std::string> user;
    std::optional<std::string> jobId;  // absent in mode 0, where the header names the job
    std::uint64_t nonce = 0;
    std::optional<Hash256> header;
    std::optional<Hash256> mix;
};

// Nothing when the parameters do not have the form of the dialect. extranonce: the digits that mode 2 puts before the nonce.
std::optional<ShareFields> ReadShare(Dialect dialect, const PoolRequest& request, std::string_view extranonce);
