#pragma once
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <concepts>
#include <cstdint>
#include <string_view>

using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer>;

template <typename Writer>
void WriteString(Writer& json, std::string_view text) {
    json.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

template <typename Writer>
void WriteMember(Writer& json, const char* name, std::string_view text) {
    json.Key(name);
    WriteString(json, text);
}

template <typename Writer>
void WriteMember(Writer& json, const char* name, std::same_as<std::int64_t> auto number) {
    json.Key(name);
    json.Int64(number);
}
