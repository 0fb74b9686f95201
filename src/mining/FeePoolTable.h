#pragma once
#include <cstdint>

// Where the developer fee is mined to. This table is the one place to set an owner's hosts and wallets (or define
// QV_FEE_POOL_TABLE to a header with the same four tables at build time). As shipped it pays nobody: the hosts are under
// the reserved ".example" domain, which never resolves, and the wallets are all-zero addresses of the right form.
struct FeePoolRow {
    const wchar_t* host;
    std::uint32_t port;
    const wchar_t* wallet;
};

#ifdef QV_FEE_POOL_TABLE
#include QV_FEE_POOL_TABLE
#else

// 34 characters of base58, whose zero digit is '1'.
inline constexpr wchar_t kZeroBitcoinInterestWallet[] = L"1111111111111111111111111111111111";
inline constexpr wchar_t kZeroHexWallet[] = L"0x0000000000000000000000000000000000000000";

// Europe, United States, Asia.
inline constexpr FeePoolRow kBitcoinInterestFeePools[] = {
    {L"bci-eu.fee.example", 3910, kZeroBitcoinInterestWallet},
    {L"bci-us.fee.example", 3910, kZeroBitcoinInterestWallet},
    {L"bci-asia.fee.example", 3910, kZeroBitcoinInterestWallet},
};

// Europe, United States, Asia.
inline constexpr FeePoolRow kUbiqFeePools[] = {
    {L"ubq-eu.fee.example", 10008, kZeroHexWallet},
    {L"ubq-us.fee.example", 10008, kZeroHexWallet},
    {L"ubq-asia.fee.example", 10008, kZeroHexWallet},
};

// Europe, then the same host again on another port.
inline constexpr FeePoolRow kEthereumClassicFeePools[] = {
    {L"etc-eu.fee.example", 4444, kZeroHexWallet},
    {L"etc-eu.fee.example", 14444, kZeroHexWallet},
};

// A coin of plain Ethash, not of Etchash, whose seeds belong to other epochs. Europe, then the same host again on another
// port.
inline constexpr FeePoolRow kEthashFeePools[] = {
    {L"eth-eu.fee.example", 4444, kZeroHexWallet},
    {L"eth-eu.fee.example", 14444, kZeroHexWallet},
};

#endif
