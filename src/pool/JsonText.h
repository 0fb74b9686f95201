#pragma once
#include <rapidjson/document.h>
#include <string_view>

using JsonValue = rapidjson::Value;

// The text of a string value up to its first NUL (which JSON can write as \u0000): slots and fields are terminated texts.
inline std::string_view JsonText(const JsonValue& string) {
    return std::string_view(string.GetString());
}
