#include "common/WideString.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

namespace {

struct Header {
    explicit Header(std::size_t characters) : capacity(static_cast<std::int64_t>(characters)) {}

    std::atomic<std::int64_t> references = 1;
    std::int64_t capacity;
};
static_assert(sizeof(Header) == 16);

struct alignas(16) Chunk {
    std::byte bytes[128];
};

Header* HeaderOf(wchar_t* text) {
    return static_cast<Header*>(static_cast<void*>(text)) - 1;
}

std::size_t ChunksFor(std::size_t length) {
    return CWideString::BlockBytes(length) / sizeof(Chunk);
}

wchar_t* Allocate(std::size_t length) {
    const std::size_t chunks = ChunksFor(length);
    Chunk* block = std::allocator<Chunk>{}.allocate(chunks);
    const std::size_t capacity = (chunks * sizeof(Chunk) - sizeof(Header)) / sizeof(wchar_t);
    Header* header = std::construct_at(static_cast<Header*>(static_cast<void*>(block)), capacity);
    return static_cast<wchar_t*>(static_cast<void*>(header + 1));
}

void Drop(wchar_t* text) {
    if (text == nullptr) return;
    Header* header = HeaderOf(text);
    if (header->references.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    const auto bytes = static_cast<std::size_t>(header->capacity) * sizeof(wchar_t) + sizeof(Header);
    std::destroy_at(header);
    std::allocator<Chunk>{}.deallocate(static_cast<Chunk*>(static_cast<void*>(header)), bytes / sizeof(Chunk));
}

}  // namespace

CWideString::CWideString(std::wstring_view text) {
    Append(text);
}

CWideString::CWideString(const CWideString& other) noexcept : m_text(other.m_text), m_length(other.m_length) {
    if (m_text != nullptr) HeaderOf(m_text)->references.fetch_add(1, std::memory_order_relaxed);
}

CWideString::CWideString(CWideString&& other) noexcept
    : m_text(std::exchange(other.m_text, nullptr)), m_length(std::exchange(other.m_length, 0)) {}

CWideString& CWideString::operator=(CWideString other) noexcept {
    std::swap(m_text, other.m_text);
    std::swap(m_length, other.m_length);
    return *this;
}

CWideString::~CWideString() {
    Drop(m_text);
}

const wchar_t* CWideString::Text() const {
    return m_text == nullptr ? L"" : m_text;
}

std::size_t CWideString::Capacity() const {
    return m_text == nullptr ? 0 : static_cast<std::size_t>(HeaderOf(m_text)->capacity);
}

bool CWideString::IsShared() const {
    return m_text != nullptr && HeaderOf(m_text)->references.load(std::memory_order_acquire) > 1;
}

void CWideString::Append(std::wstring_view text) {
    if (text.empty()) return;
    // Shared, so that a text that lies in the block outlives the block's replacement.
    const CWideString source = Holds(text) ? *this : CWideString();
    wchar_t* out = PrepareWrite(m_length + text.size());
    std::copy(text.begin(), text.end(), out + m_length);
    m_length += text.size();
    out[m_length] = L'\0';
}

bool CWideString::Holds(std::wstring_view text) const {
    constexpr std::less<const wchar_t*> kBefore;
    return m_text != nullptr && !kBefore(text.data(), m_text) && kBefore(text.data(), m_text + Capacity());
}

void CWideString::Clear() noexcept {
    Drop(std::exchange(m_text, nullptr));
    m_length = 0;
}

wchar_t* CWideString::PrepareWrite(std::size_t length) {
    if (m_text != nullptr && !IsShared() && length < Capacity()) return m_text;
    wchar_t* fresh = Allocate(length);
    std::copy_n(Text(), m_length + 1, fresh);
    Drop(std::exchange(m_text, fresh));
    return fresh;
}
