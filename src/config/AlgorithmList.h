#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>
#include "quorvel/plugin.h"

// One algorithm plug-in found at start-up.
struct AlgorithmEntry {
    QvDescriptor record = {};  // libraryPath empty: no library, only the built-in fallback has that
    std::wstring unit = L"H/s";
};

// A library that could have been a plug-in and was left out to protect the program.
struct LeftOutPlugIn {
    std::wstring fileName;  // without folder
    std::wstring reason;    // in words, for the user
};

// The algorithms found at start-up. Filled on the GUI thread before any reader exists, constant afterwards.
class CAlgorithmList {
  public:
    CAlgorithmList();
    CAlgorithmList(const CAlgorithmList&) = delete;
    CAlgorithmList& operator=(const CAlgorithmList&) = delete;

    void Add(AlgorithmEntry entry);
    const std::vector<std::unique_ptr<AlgorithmEntry>>& Entries() const { return m_entries; }

    void AddLeftOut(LeftOutPlugIn plugIn) { m_leftOut.push_back(std::move(plugIn)); }
    const std::vector<LeftOutPlugIn>& LeftOut() const { return m_leftOut; }

    // The first with that id, else the fallback "Unknown", which has no library. Never null, valid as long as the list.
    const AlgorithmEntry& Find(std::int32_t id) const;
    const AlgorithmEntry& Fallback() const { return m_fallback; }

  private:
    std::vector<std::unique_ptr<AlgorithmEntry>> m_entries;
    std::vector<LeftOutPlugIn> m_leftOut;
    AlgorithmEntry m_fallback;
};
