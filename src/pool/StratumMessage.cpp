#include "pool/StratumMessage.h"
#include <charconv>
#include <system_error>
#include "pool/LineShape.h"

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
