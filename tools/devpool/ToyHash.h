#pragma once
#include <cstdint>

#include "ethash/hash/Ethash.h"

// The hash of the template plug-in: quick, of no cryptographic worth and used by no coin.
//  - 64-bit FNV-1a over the 32 bytes of the header and the 8 of the nonce, most significant first, gives a state.
//  - Four times the state grows by 0x9e3779b97f4a7c15, and a copy of it, mixed by shifts and products, is the next 8 bytes
//  of
//    the hash, most significant first.
// There is no mix hash: its place in a request holds the hash itself.
EthashResult ToyHash(const Hash256& header, std::uint64_t nonce);
