#include "config/LoadReport.h"

namespace {

constexpr std::size_t kNamed = 12;  // a log line, not a second copy of the file

}  // namespace

void CLoadReport::Dropped(const std::wstring& what) {
    if (m_count++ >= kNamed) return;
    if (!m_named.empty()) m_named.append(L"; ");
    m_named.append(what);
}

std::wstring CLoadReport::Text() const {
    if (m_count <= kNamed) return m_named;
    std::wstring text = m_named;
    return text.append(L"; ").append(std::to_wstring(m_count - kNamed)).append(L" more");
}
