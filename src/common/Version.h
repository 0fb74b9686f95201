#pragma once

inline constexpr wchar_t kApplicationName[] = L"Quorvel-Miner";
inline constexpr char kApplicationNameNarrow[] = "Quorvel-Miner";
inline constexpr char kVersionText[] = "18.12.50.41";
