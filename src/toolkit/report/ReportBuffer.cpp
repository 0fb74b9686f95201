#include "toolkit/report/ReportBuffer.h"

HDC CReportBuffer::Begin(HDC target, SIZE size, HFONT font) {
    m_font.reset();
    if (!m_memory || m_size.cx < size.cx || m_size.cy < size.cy) {
        m_memory.emplace(target, size);
        m_size = size;
        SetBkMode(m_memory->Device(), TRANSPARENT);
    }
    m_font.emplace(m_memory->Device(), font);
    return m_memory->Device();
}

void CReportBuffer::CopyTo(HDC target, const RECT& place) const {
    m_memory->CopyTo(target, place);
}
