#pragma once
#include <rapidjson/document.h>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include "config/PoolEntry.h"

using JsonValue = rapidjson::Value;

// The text of a string value up to its first NUL (which JSON can write as \u0000): slots and fields are terminated texts.
inline std::string_view JsonText(const JsonValue& string) {
    return std::string_view(string.GetString());
}

inline constexpr std::size_t kSmallLine = 64 * 1024;
inline constexpr std::size_t kMaximumValues = 500'000;
inline constexpr std::size_t kMaximumDepth = 1000;

// Whether parsing a line takes memory in proportion to its text. One value takes many times the two bytes it can be written
// in, so a long line (one of more than kSmallLine bytes) may hold at most kMaximumValues values, nested kMaximumDepth deep;
// its texts may be of any length.
bool IsReasonableLine(std::string_view line);

// The error that a reply's "error" member stands for: [code, text, ...], {"code", "message"}, a text or a code alone.
// now: its time when it is one. gpuIndex stays -1.
PoolError ParsePoolError(const JsonValue& value, ddt_datetime now);

// One line of a pool as values, and the parser that makes them. Reused from line to line: a line of usual size needs no
// memory beyond this object. One thread.
class CStratumMessage {
  public:
    CStratumMessage();
    CStratumMessage(const CStratumMessage&) = delete;
    CStratumMessage& operator=(const CStratumMessage&) = delete;

    // A NUL stands behind the line. False: the line is no JSON object (or is built to exhaust the memory), and is dropped.
    // The other operations follow a Parse that was true; what they give is valid until the next one.
    bool Parse(std::string_view line);

    // 0 when there is none that is an unsigned number of at most 32 bits; it may be written as a text.
    std::uint32_t Id() const;
    // Empty: none.
    std::string_view Method() const;
    // Null: there is no such member, or its value is null.
    const JsonValue* Params() const { return Find("params"); }
    const JsonValue* Result() const { return Find("result"); }
    const JsonValue* Error() const { return Find("error"); }
    bool IsResultTrue() const;
    bool IsResultFalse() const;

  private:
    using Pool = rapidjson::MemoryPoolAllocator<>;
    using Document = rapidjson::GenericDocument<rapidjson::UTF8<>, Pool, Pool>;
    static constexpr std::size_t kValueBytes = 16 * 1024;
    static constexpr std::size_t kStackBytes = 8 * 1024;

    const JsonValue* Find(const char* name) const;
    void Forget();

    alignas(std::max_align_t) std::array<char, kValueBytes> m_valueBytes;
    alignas(std::max_align_t) std::array<char, kStackBytes> m_stackBytes;
    Pool m_values;
    Pool m_stack;
    Document m_document;
};
