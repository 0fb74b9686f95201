#pragma once
#include <winsock2.h>
// After winsock2.h:
#include <windows.h>
// After windows.h:
#define SECURITY_WIN32
#include <security.h>
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

// What the calls of the system's security interface are given.

// Of every step of a handshake and of what belongs to one.
inline constexpr DWORD kRequirements = ISC_REQ_SEQUENCE_DETECT | ISC_REQ_REPLAY_DETECT | ISC_REQ_CONFIDENTIALITY |
                                       ISC_REQ_EXTENDED_ERROR | ISC_REQ_ALLOCATE_MEMORY | ISC_REQ_STREAM |
                                       ISC_REQ_MANUAL_CRED_VALIDATION | ISC_REQ_USE_SUPPLIED_CREDS;

// A code of Windows Sockets among those of encryption.
constexpr std::uint32_t SystemCode(std::uint32_t socketCode) {
    return 0x80070000U | socketCode;
}

// The first byte of a record that holds an alert; TLS 1.3 hides it once the handshake is over.
inline constexpr char kAlertRecord = 21;

inline constexpr SecHandle kNoHandle = {~ULONG_PTR{0}, ~ULONG_PTR{0}};

inline bool IsValid(const SecHandle& handle) {
    return handle.dwLower != kNoHandle.dwLower || handle.dwUpper != kNoHandle.dwUpper;
}

inline SecBuffer Buffer(unsigned long type, void* data = nullptr, std::size_t size = 0) {
    return {static_cast<unsigned long>(size), type, data};
}

template <std::size_t Count>
SecBufferDesc Description(std::array<SecBuffer, Count>& buffers) {
    return {SECBUFFER_VERSION, static_cast<unsigned long>(Count), buffers.data()};
}

template <std::size_t Count>
const SecBuffer* Find(const std::array<SecBuffer, Count>& buffers, unsigned long type) {
    const auto found = std::ranges::find(buffers, type, &SecBuffer::BufferType);
    return found == buffers.end() ? nullptr : &*found;
}
