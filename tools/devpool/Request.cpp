#include "Request.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace {

constexpr std::size_t kMaxParameters = 16;

std::string TextOf(const rapidjson::Value& value) {
    return {value.GetString(), value.GetStringLength()};
}

bool ReadId(const rapidjson::Value& value, PoolRequest& request) {
    if (!value.IsNumber() && !value.IsString() && !value.IsNull()) return false;
    rapidjson::StringBuffer buffer;
    rapidjson::Writer writer(buffer);
    if (!value.Accept(writer)) return false;
    request.id.assign(buffer.GetString(), buffer.GetSize());
    if (value.IsUint64()) {
        const std::uint64_t number = value.GetUint64() >> 16;
        if (number >= 1 && number <= kMaxGpus) request.gpu = static_cast<int>(number) - 1;
    }
    return true;
}

bool ReadText(const rapidjson::Value& value, std::string& text) {
    if (!value.IsString()) return false;
    text = TextOf(value);
    return true;
}

bool ReadParameters(const rapidjson::Value& value, PoolRequest& request) {
    if (!value.IsArray() || value.Size() > kMaxParameters) return false;
    for (const auto& element : value.GetArray()) {
        request.parameters.push_back(element.IsString() ? std::optional(TextOf(element)) : std::nullopt);
    }
    return true;
}

bool ReadMember(std::string_view name, const rapidjson::Value& value, PoolRequest& request) {
    if (name == "id") return ReadId(value, request);
    if (name == "method") return ReadText(value, request.method);
    if (name == "worker") return ReadText(value, request.worker);
    if (name == "params") return ReadParameters(value, request);
    return true;
}

}  // namespace

std::optional<PoolRequest> ParseRequest(std::string_view line) {
    // Iterative: nesting must not use up the stack.
    constexpr unsigned kFlags = rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag;
    rapidjson::Document document;
    document.Parse<kFlags>(line.data(), line.size());
    if (document.HasParseError() || !document.IsObject()) return std::nullopt;
    PoolRequest request;
    // By index: the comparison of the member iterators is ambiguous in C++20.
    for (rapidjson::SizeType i = 0; i < document.MemberCount(); ++i) {
        const auto& member = document.MemberBegin()[static_cast<std::ptrdiff_t>(i)];
        const std::string_view name(member.name.GetString(), member.name.GetStringLength());
        if (!ReadMember(name, member.value, request)) return std::nullopt;
    }
    return request;
}
