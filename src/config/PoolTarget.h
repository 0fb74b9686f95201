#pragma once
#include <cstdint>
#include <string>
#include "common/PoolAddress.h"
#include "config/PoolEntry.h"

// Where a pool's Server and Port lead, and how. A server's text with "://" is a URL, whose port counts more than the field;
// any other is the host, with a port behind the first ':'.
struct PoolTarget {
    std::wstring host;  // without port; of an address that cannot be used the whole text
    std::uint32_t port = 0;
    std::uint32_t shownPort = 0;  // what a pool is told that asks for it: of a text that is no URL the field
    PoolEncryption encryption;
    AddressProtocol protocol = AddressProtocol::Any;
    std::string reason;  // why the server is no usable address, for the user; empty: it is
};
PoolTarget TargetOf(const PoolEntry& pool);

// The address as window, logs and reports show it: "host:port", "[IPv6]:port", "stratum+ssl://host:port"; that the
// certificate is not checked is shown, which one is expected is not.
std::wstring PoolAddressText(const PoolEntry& pool);
