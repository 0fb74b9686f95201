#pragma once
#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

// The algorithms of the plug-ins that come with the program: the number that pools name ("Algo") and a name for people.
struct NamedAlgorithm {
    std::int32_t id;
    std::string_view name;  // lower case
};

inline constexpr std::array<NamedAlgorithm, 6> kNamedAlgorithms{{
    {1, "etchash"},
    {2, "etchash-cpu"},
    {3, "ethash"},
    {4, "ethash-cpu"},
    {11, "ubqhash"},
    {12, "ubqhash-cpu"},
}};

// Empty: a plug-in of somebody else.
constexpr std::string_view AlgorithmName(std::int32_t id) noexcept {
    const auto* const found = std::ranges::find(kNamedAlgorithms, id, &NamedAlgorithm::id);
    return found == kNamedAlgorithms.end() ? std::string_view() : found->name;
}

// Capitals count as small letters.
constexpr std::optional<std::int32_t> AlgorithmId(std::string_view name) noexcept {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    for (const NamedAlgorithm& known : kNamedAlgorithms)
        if (std::ranges::equal(name, known.name, {}, lower)) return known.id;
    return std::nullopt;
}
