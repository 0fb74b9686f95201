#pragma once
#include <string>
#include <vector>
#include "CardBench.h"

// The figures for people, one block of lines per card.
std::string TextReport(const std::vector<CardFigures>& cards);
// The same as one JSON document.
std::string JsonReport(const std::vector<CardFigures>& cards);
