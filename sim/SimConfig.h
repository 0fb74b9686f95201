#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

// Values of the SimGpus.ini beside this library, as the file is at the time of the call. Any thread. Nothing: the key is
// missing, says "fail", or is no decimal number where one is asked for. Returns only when the key does not say "hang".
std::optional<std::string> SimText(const std::wstring& section, const wchar_t* key);
std::optional<std::uint64_t> SimNumber(const std::wstring& section, const wchar_t* key);

// False, with the value left alone, as above or when the number does not fit.
template <class Value>
bool SimValue(const std::wstring& section, const wchar_t* key, Value& value) {
    const auto number = SimNumber(section, key);
    if (!number || !std::in_range<Value>(*number)) return false;
    value = static_cast<Value>(*number);
    return true;
}

// The cards are the sections Gpu0, Gpu1, ... up to the first that is missing or empty.
std::int32_t SimGpuCount();
std::wstring SimGpuSection(std::int32_t index);
bool SimUuid(std::int32_t index, std::uint8_t (&uuid)[16]);
