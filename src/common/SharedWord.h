#pragma once
#include <atomic>
#include <type_traits>

// Single words of records that several threads read and write without a lock (GPU records, statistics, work blocks), where a
// record's layout leaves no room for std::atomic. Each is aligned and read and written whole.

template <typename Word>
Word ReadShared(const Word& word, std::memory_order order = std::memory_order_relaxed) noexcept {
    return std::atomic_ref(const_cast<Word&>(word)).load(order);
}

template <typename Word>
void WriteShared(Word& word, std::type_identity_t<Word> value,
                 std::memory_order order = std::memory_order_relaxed) noexcept {
    std::atomic_ref(word).store(value, order);
}

template <typename Word>
void AddShared(Word& word, std::type_identity_t<Word> value) noexcept {
    std::atomic_ref(word).fetch_add(value, std::memory_order_relaxed);
}
