#pragma once
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "HexBytes.h"
#include "ethash/hash/Ethash.h"
#include "quorvel/plugin.h"

// Work blocks as a pool session fills them.

template <std::size_t kSize>
void SetSlot(char (&slot)[kSize], std::string_view text) {
    std::fill(slot, slot + kSize, '\0');
    std::copy_n(text.begin(), std::min(text.size(), kSize - 1), slot);
}

inline std::string HeaderText(std::uint8_t number) {
    Hash256 header{};
    header.back() = number;
    return Digits(header);
}

inline void SetCredentials(StratumWorkBlock& block) {
    block.workerName = L"rig";
    block.walletUser = L"0xwallet";
    block.password = L"x";
}

// seed and boundary as digits without prefix.
inline StratumWorkBlock EthProxyBlock(std::string_view header, std::string_view seed, std::string_view boundary) {
    StratumWorkBlock block{};
    SetCredentials(block);
    SetSlot(block.jobId, "0x" + std::string(header));
    SetSlot(block.parameters[0], "0x" + std::string(seed));
    SetSlot(block.parameters[1], "0x" + std::string(boundary));
    block.protocolMode = 0;
    return block;
}

inline StratumWorkBlock NiceHashBlock(std::string_view header, std::string_view seed, std::string_view extranonce) {
    StratumWorkBlock block{};
    SetCredentials(block);
    SetSlot(block.jobId, "bf0488aa");
    SetSlot(block.parameters[0], seed);
    SetSlot(block.parameters[1], header);
    SetSlot(block.extranonce, extranonce);
    std::fill(std::begin(block.target), std::end(block.target), std::uint8_t{0xff});
    block.protocolMode = 2;
    return block;
}
