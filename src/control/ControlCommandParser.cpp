#include "control/ControlCommandParser.h"
#include <rapidjson/document.h>
#include <rapidjson/memorystream.h>
#include <algorithm>
#include <span>
#include "common/CodePage.h"
#include "common/TextCompare.h"
#include "common/Utf8.h"
#include "config/PoolFields.h"

namespace {

using rapidjson::SizeType;
using rapidjson::Value;
using Body = decltype(ControlCommand::body);

// Iterative: the same results as the recursive default, and nesting costs no call stack.
constexpr unsigned kParseFlags = rapidjson::kParseDefaultFlags | rapidjson::kParseIterativeFlag;

// Ends a parse, which keeps nothing, where the line becomes unreasonable.
class CShapeCheck : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, CShapeCheck> {
  public:
    bool Default() { return ++m_values <= kMaximumCommandValues; }
    bool StartObject() { return Open(); }
    bool StartArray() { return Open(); }
    bool EndObject(SizeType) { return Close(); }
    bool EndArray(SizeType) { return Close(); }

  private:
    bool Open() { return ++m_depth <= kMaximumCommandDepth && Default(); }
    bool Close() {
        --m_depth;
        return true;
    }

    std::size_t m_values = 0;
    std::size_t m_depth = 0;
};

bool IsReasonable(std::string_view line) {
    rapidjson::MemoryStream stream(line.data(), line.size());
    rapidjson::Reader reader;
    CShapeCheck check;
    return !reader.Parse<kParseFlags>(stream, check).IsError();
}

const Value* Find(const Value& object, const char* name) {
    const auto member = object.FindMember(name);
    return member == object.MemberEnd() ? nullptr : &member->value;
}

const Value* FindArray(const Value& object, const char* name) {
    const Value* const value = Find(object, name);
    return value != nullptr && value->IsArray() ? value : nullptr;
}

// The whole text of a string value, NULs (written as \u0000) included.
std::optional<std::string_view> ReadBytes(const Value& value) {
    if (!value.IsString()) return std::nullopt;
    return std::string_view(value.GetString(), value.GetStringLength());
}

// A text as everything but the token takes it: it ends at a NUL, as the fields do.
std::optional<std::string_view> ReadString(const Value& object, const char* name) {
    const Value* const value = Find(object, name);
    if (value == nullptr || !value->IsString()) return std::nullopt;
    return std::string_view(value->GetString());
}

// A 32-bit number, written signed or unsigned.
std::optional<std::uint32_t> ReadId(const Value& object, const char* name) {
    const Value* const value = Find(object, name);
    if (value == nullptr) return std::nullopt;
    if (value->IsUint()) return value->GetUint();
    if (value->IsInt()) return static_cast<std::uint32_t>(value->GetInt());
    return std::nullopt;
}

std::optional<std::uint32_t> ReadUnsigned(const Value& object, const char* name) {
    const Value* const value = Find(object, name);
    return value != nullptr && value->IsUint() ? std::optional(value->GetUint()) : std::nullopt;
}

std::optional<std::int32_t> ReadSigned(const Value& object, const char* name) {
    const Value* const value = Find(object, name);
    return value != nullptr && value->IsInt() ? std::optional(value->GetInt()) : std::nullopt;
}

std::optional<std::uint64_t> ReadUnsigned64(const Value& object, const char* name) {
    const Value* const value = Find(object, name);
    return value != nullptr && value->IsUint64() ? std::optional<std::uint64_t>(value->GetUint64()) : std::nullopt;
}

// False: there is no such text, and the field keeps what it held.
bool ReadField(const Value& object, const char* name, std::span<wchar_t> field) {
    const std::optional<std::string_view> text = ReadString(object, name);
    if (!text) return false;
    // A character takes at most four bytes, so that more than this cannot reach the field. It also keeps the conversion of a
    // text of megabytes short; the character halved by it lies past the end of the field.
    const std::string_view part = text->substr(0, field.size() * 4);
    if (IsValidUtf8(*text)) {
        NarrowToField(Utf8ToNarrow(part, nullptr), field);
    } else {
        NarrowToField(part, field);
    }
    return true;
}

std::optional<WorkerNameField> ReadWorkerName(const Value& params) {
    WorkerNameField field = {};
    return ReadField(params, "workername", field) ? std::optional(field) : std::nullopt;
}

template <typename Number>
bool Take(const std::optional<Number>& value, Number& field) {
    if (value) field = *value;
    return value.has_value();
}

bool ReadPoolField(const Value& element, const PoolFieldSpec& spec, PoolEntry& pool) {
    switch (spec.kind) {
        case PoolFieldKind::Id:
            return Take(ReadId(element, spec.member), pool.ID);
        case PoolFieldKind::Port:
            return Take(ReadUnsigned(element, spec.member), pool.Port);
        case PoolFieldKind::Number:
            return Take(ReadSigned(element, spec.member), pool.Algo);
        case PoolFieldKind::Text:
            break;
    }
    return ReadField(element, spec.member, TextOf(pool, spec.field));
}

std::optional<PoolEntry> ReadPool(const Value& element) {
    if (!element.IsObject()) return std::nullopt;
    PoolEntry pool;
    for (const PoolFieldSpec& spec : kPoolFields) {
        if (!ReadPoolField(element, spec, pool) && spec.isRequired) return std::nullopt;
    }
    return pool;
}

std::optional<PoolBinding> ReadBinding(const Value& element) {
    if (!element.IsObject()) return std::nullopt;
    const auto primary = ReadId(element, "primary-poolid");
    const auto secondary = ReadId(element, "secondary-poolid");
    const Value* const gpus = FindArray(element, "gpus");
    if (!primary || !secondary || gpus == nullptr) return std::nullopt;
    PoolBinding binding{*primary, *secondary, {}};
    for (const Value& gpu : gpus->GetArray()) {
        if (const auto text = ReadBytes(gpu)) binding.gpuIds.emplace_back(*text);
    }
    return binding;
}

std::optional<Body> ReadConnect(const Value& params) {
    return ConnectCommand{ReadWorkerName(params)};
}

std::optional<Body> ReadWorkerNameCommand(const Value& params) {
    const auto name = ReadWorkerName(params);
    return name ? std::optional<Body>(WorkerNameCommand{*name}) : std::nullopt;
}

std::optional<Body> ReadConfiguration(const Value& params) {
    const Value* const pools = FindArray(params, "pools");
    const Value* const bindings = FindArray(params, "config");
    if (pools == nullptr || bindings == nullptr) return std::nullopt;
    ConfigurationCommand command;
    command.poolElements = pools->Size();
    for (const Value& element : pools->GetArray()) {
        if (const auto pool = ReadPool(element)) command.pools.push_back(*pool);
    }
    for (const Value& element : bindings->GetArray()) {
        if (auto binding = ReadBinding(element)) command.bindings.push_back(std::move(*binding));
    }
    return command;
}

std::optional<Body> ReadNonceGenerator(const Value& params) {
    const auto id = ReadString(params, "ID");
    if (!id) return std::nullopt;
    return NonceGeneratorCommand{std::string(*id), ReadSigned(params, "NGM"), ReadUnsigned64(params, "NGTO")};
}

std::optional<Body> ReadStart(const Value&) {
    return MiningCommand{true};
}

std::optional<Body> ReadStop(const Value&) {
    return MiningCommand{false};
}

struct CommandForm {
    std::string_view name;
    std::optional<Body> (*read)(const Value& params);
};
constexpr CommandForm kForms[] = {
    {"connect", ReadConnect},
    {"workername", ReadWorkerNameCommand},
    {"configuration", ReadConfiguration},
    {"NonceGeneratorSettings", ReadNonceGenerator},
    {"start-mining", ReadStart},
    {"stop-mining", ReadStop},
};

}  // namespace

std::optional<ControlCommand> ParseCommand(std::string_view line) {
    if (!IsReasonable(line)) return std::nullopt;
    rapidjson::Document document;
    document.Parse<kParseFlags>(line.data(), line.size());
    if (document.HasParseError() || !document.IsObject()) return std::nullopt;
    const auto name = ReadString(document, "cmd");
    const Value* const params = Find(document, "params");
    if (!name || params == nullptr || !params->IsObject()) return std::nullopt;

    const auto form =
        std::ranges::find_if(kForms, [&](const CommandForm& known) { return EqualIgnoringCase(known.name, *name); });
    if (form == std::end(kForms)) return std::nullopt;
    std::optional<Body> body = form->read(*params);
    if (!body) return std::nullopt;
    ControlCommand command{std::move(*body), std::nullopt};
    if (const Value* const token = Find(*params, "token")) command.token = ReadBytes(*token);
    return command;
}
