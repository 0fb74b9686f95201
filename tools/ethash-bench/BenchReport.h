#pragma once
#include <cstddef>
#include <cstdio>
#include <vector>
#include "CardBench.h"

// Prints figures as they come, so that a run that is ended by force leaves what it has measured. As text: every new line at
// once. As JSON: one document of all cards; in a file it is complete after every figure, being written over, while a pipe
// gets it at the end. With JSON the text goes to the remarks.
class CBenchOutput {
  public:
    CBenchOutput(std::FILE* figures, std::FILE* remarks, bool json);

    // After each new figure. Those shown before must not have changed.
    void Show(const std::vector<CardFigures>& cards);
    // False: not all could be written.
    bool End(const std::vector<CardFigures>& cards);

  private:
    void WriteJson(const std::vector<CardFigures>& cards);

    std::FILE* const m_figures;
    std::FILE* const m_text;
    const bool m_json;
    long m_begin;  // of the document in its file; -1: no file
    std::size_t m_shown = 0;
    std::size_t m_jsonBytes = 0;
};
