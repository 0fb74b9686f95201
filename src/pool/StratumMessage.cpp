#include "pool/StratumMessage.h"

#include <charconv>
#include <system_error>

#include "common/CodePage.h"
#include "common/Format.h"

namespace {

// Behind the closing quote of the string that starts before from; the end when there is none.
std::size_t EndOfString(std::string_view line, std::size_t from) {
    for (;;) {
        const std::size_t at = line.find_first_of("\"\\", from);
        if (at == std::string_view::npos) return line.size();
        if (line[at] == '"') return at + 1;
        from = at + 2;  // past what the backslash escapes
    }
}

}  // namespace

bool IsReasonableLine(std::string_view line) {
    if (line.size() <= kSmallLine) return true;
    std::size_t values = 1;
    std::size_t depth = 0;
    for (std::size_t at = 0; at < line.size();) {
        switch (line[at++]) {
            case '"':
                at = EndOfString(line, at);
                break;
            case '[':
            case '{':
                if (++depth > kMaximumDepth) return false;
                ++values;
                break;
            case ']':
            case '}':
                if (depth > 0) --depth;
                break;
            case ',':
            case ':':
                ++values;
                break;
            default:
                break;
        }
        if (values > kMaximumValues) return false;
    }
    return true;
}

namespace {

void TakeCode(const JsonValue& value, PoolError& error) {
    if (value.IsInt()) error.code = value.GetInt();
}

void TakeText(const JsonValue& value, PoolError& error) {
    if (value.IsString()) CopyToField(JsonText(value), error.text);
}

void TakeArray(const JsonValue& array, PoolError& error) {
    if (array.Size() > 0) TakeCode(array[0], error);
    if (array.Size() > 1) TakeText(array[1], error);
}

void TakeObject(const JsonValue& object, PoolError& error) {
    const auto code = object.FindMember("code");
    if (code != object.MemberEnd()) TakeCode(code->value, error);
    const auto message = object.FindMember("message");
    if (message == object.MemberEnd()) return;
    if (message->value.IsArray()) {
        TakeArray(message->value, error);
    } else {
        TakeText(message->value, error);
    }
}

}  // namespace

PoolError ParsePoolError(const JsonValue& value, ddt_datetime now) {
    PoolError error;
    if (value.IsArray()) {
        TakeArray(value, error);
    } else if (value.IsObject()) {
        TakeObject(value, error);
    } else {
        TakeText(value, error);
        TakeCode(value, error);
    }
    if (error.text[0] != '\0' && error.code == 0) error.code = -1;
    if (error.code != 0) {
        error.time = now;
        if (error.text[0] == '\0') FormatTo(error.text, "Unknown error from Pool: %d", error.code);
    }
    return error;
}

namespace {

// Iterative: the same results as the recursive default, and nesting costs no call stack.
constexpr unsigned kParseFlags = rapidjson::kParseDefaultFlags | rapidjson::kParseIterativeFlag;
constexpr std::size_t kInitialStack = 1024;

}  // namespace

CStratumMessage::CStratumMessage()
    : m_values(m_valueBytes.data(), m_valueBytes.size()),
      m_stack(m_stackBytes.data(), m_stackBytes.size()),
      m_document(&m_values, kInitialStack, &m_stack) {}

bool CStratumMessage::Parse(std::string_view line) {
    Forget();
    if (!IsReasonableLine(line)) return false;
    m_document.Parse<kParseFlags>(line.data());
    return !m_document.HasParseError() && m_document.IsObject();
}

void CStratumMessage::Forget() {
    m_document.SetNull();
    m_values.Clear();
    // The document holds no part of its stack between two calls of Parse, so its memory can start anew.
    m_stack.Clear();
}

const JsonValue* CStratumMessage::Find(const char* name) const {
    const auto member = m_document.FindMember(name);
    return member == m_document.MemberEnd() || member->value.IsNull() ? nullptr : &member->value;
}

std::uint32_t CStratumMessage::Id() const {
    const JsonValue* const id = Find("id");
    if (id == nullptr) return 0;
    if (id->IsUint()) return id->GetUint();
    if (!id->IsString()) return 0;
    const std::string_view text = JsonText(*id);
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? number : 0;
}

std::string_view CStratumMessage::Method() const {
    const JsonValue* const method = Find("method");
    return method != nullptr && method->IsString() ? JsonText(*method) : std::string_view();
}

bool CStratumMessage::IsResultTrue() const {
    const JsonValue* const result = Result();
    return result != nullptr && result->IsTrue();
}

bool CStratumMessage::IsResultFalse() const {
    const JsonValue* const result = Result();
    return result != nullptr && result->IsFalse();
}
