#include "config/AlgorithmList.h"

#include <algorithm>

#include "common/CodePage.h"

CAlgorithmList::CAlgorithmList() {
    CopyToField(std::wstring_view(L"Unknown"), m_fallback.record.name);
}

void CAlgorithmList::Add(AlgorithmEntry entry) {
    m_entries.push_back(std::make_unique<AlgorithmEntry>(std::move(entry)));
}

const AlgorithmEntry& CAlgorithmList::Find(std::int32_t id) const {
    const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                    [id](const std::unique_ptr<AlgorithmEntry>& entry) { return entry->record.id == id; });
    return found == m_entries.end() ? m_fallback : **found;
}
