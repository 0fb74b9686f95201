#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include "pool/ProtocolMode.h"

// Ids of requests and of their replies. Larger ids are shares; 999 is reserved for notifications.
enum : std::uint32_t {
    kIdNone = 0,
    kIdSubscribe = 1,
    kIdAuthorize = 2,
    kIdExtranonceSubscribe = 3,
    kIdGetWork = 4,
    kIdHashRate = 5,
    kIdReserved = 999
};

// What a login names.
struct LoginFields {
    std::wstring_view worker;
    std::wstring_view wallet;
    std::wstring_view password;
    std::wstring_view server;  // without port
    std::uint32_t port = 0;
};

// Whole requests, line feed included, as narrow text. Nothing is escaped. mode: not None; an authorize request exists in
// every mode but EthProxy.
std::string SubscribeRequest(ProtocolMode mode, const LoginFields& login);
std::string AuthorizeRequest(ProtocolMode mode, const LoginFields& login);
std::string ExtranonceSubscribeRequest();
std::string GetWorkRequest();

// The id under which a session reports its hash rate: "0x" and 64 lower-case digits, the 32 bytes of the first four draws of
// std::mt19937_64 seeded so, each draw least significant byte first.
std::wstring MakeClientId(std::uint32_t seed);
// Seeded by std::random_device.
std::wstring MakeClientId();
