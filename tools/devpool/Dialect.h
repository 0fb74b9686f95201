#pragma once
#include <string_view>

// The dialects that a mining client may speak; the values are the client's protocol modes.
enum class Dialect : int { EthProxy, Plain, NiceHash, Host };

constexpr std::string_view DialectName(Dialect dialect) {
    switch (dialect) {
        case Dialect::EthProxy:
            return "0 (eth-proxy)";
        case Dialect::Plain:
            return "1 (plain)";
        case Dialect::NiceHash:
            return "2 (NiceHash)";
        case Dialect::Host:
            return "3 (host)";
    }
    return "?";
}
