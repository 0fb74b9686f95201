#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include "config/PoolEntry.h"

// The persistent fields of a pool: what the file, the "configuration" command and the editor's draft loop over. A new field
// is one here, one in PoolEntry and, where it shows, one control of the editor.
enum class PoolField : std::size_t { Id, Name, Server, Port, WalletUser, Password, WorkerOverride, Algorithm };

enum class PoolFieldKind {
    Id,      // 32 bits, unsigned in memory; signed in the file, either in a command
    Port,    // 1 to 65535
    Number,  // 32 bits, signed
    Text
};

struct PoolFieldSpec {
    PoolField field;
    PoolFieldKind kind;
    const char* attribute;  // in ConfigMiner.xml
    const char* member;     // in the command
    bool isRequired;        // by a command; a person is asked for it by:
    const wchar_t* ask;     // null: may be empty, or is no text
    bool isTrimmed;         // white space around a typed text means nothing
};

inline constexpr std::array<PoolFieldSpec, 8> kPoolFields = {{
    {PoolField::Id, PoolFieldKind::Id, "ID", "id", true, nullptr, false},
    {PoolField::Name, PoolFieldKind::Text, "Name", "name", true, L"Enter a name", true},
    {PoolField::Server, PoolFieldKind::Text, "Server", "server", true, L"Enter a server", true},
    {PoolField::Port, PoolFieldKind::Port, "Port", "port", true, nullptr, false},
    {PoolField::WalletUser, PoolFieldKind::Text, "WalletUser", "wallet", true, L"Enter a wallet or user", true},
    {PoolField::Password, PoolFieldKind::Text, "Password", "password", false, nullptr, false},
    {PoolField::WorkerOverride, PoolFieldKind::Text, "WorkerOverride", "workeroverride", false, nullptr, true},
    {PoolField::Algorithm, PoolFieldKind::Number, "Algo", "algo", true, nullptr, false},
}};

// The room of a text, terminator included; empty for a number.
constexpr std::span<wchar_t> TextOf(PoolEntry& pool, PoolField field) {
    switch (field) {
        case PoolField::Name:
            return pool.Name;
        case PoolField::Server:
            return pool.Server;
        case PoolField::WalletUser:
            return pool.WalletUser;
        case PoolField::Password:
            return pool.Password;
        case PoolField::WorkerOverride:
            return pool.WorkerOverride;
        default:
            return {};
    }
}
inline const wchar_t* TextOf(const PoolEntry& pool, PoolField field) {
    return TextOf(const_cast<PoolEntry&>(pool), field).data();
}
