#include "serve/Token.h"

#include <array>
#include <cstdint>
#include <stdexcept>

#include "common/Hex.h"
#include "rig/CleanText.h"
#ifdef _WIN32
#include <windows.h>
// Needs the types of windows.h.
#include <bcrypt.h>
#else
#include <unistd.h>
#endif

namespace {

constexpr std::size_t kTokenBytes = 32;

bool FillRandom(std::array<std::uint8_t, kTokenBytes>& bytes) {
#ifdef _WIN32
    return BCryptGenRandom(nullptr, bytes.data(), static_cast<ULONG>(bytes.size()), BCRYPT_USE_SYSTEM_PREFERRED_RNG) == 0;
#else
    return getentropy(bytes.data(), bytes.size()) == 0;
#endif
}

}  // namespace

std::string NewToken() {
    std::array<std::uint8_t, kTokenBytes> bytes{};
    if (!FillRandom(bytes)) throw std::runtime_error("the system gives no random numbers");
    return HexText(bytes);
}

WebToken LoadWebToken(const CStateFolder& state, bool makeNew) {
    const auto stored = ReadWholeFile(state.TokenFile(), 4096);
    const std::string_view known = stored ? Trimmed(*stored) : std::string_view();
    if (!makeNew && known.size() == 2 * kTokenBytes) return {std::string(known), false};
    WebToken token{NewToken(), true};
    state.Write(state.TokenFile(), token.text + "\n");
    return token;
}
