#pragma once
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// One request of a client.
struct PoolRequest {
    std::string id = "null";                             // as JSON text: a number, a string or null
    int gpu = -1;                                        // the GPU that a share's id names; -1: none
    std::string method;                                  // empty: none
    std::string worker;                                  // the "worker" member of eth-proxy requests
    std::vector<std::optional<std::string>> parameters;  // an element that is no string is nothing; at most 16
};

inline constexpr int kMaxGpus = 1024;

// Nothing when the line is no JSON object or its members have the wrong types.
std::optional<PoolRequest> ParseRequest(std::string_view line);
