#include "toolkit/report/ReportBuffer.h"

CReportBuffer::~CReportBuffer() {
    Free();
}

HDC CReportBuffer::Begin(HDC target, SIZE size, HFONT font) {
    if (m_dc == nullptr || m_size.cx < size.cx || m_size.cy < size.cy) {
        Free();
        m_dc = CreateCompatibleDC(target);
        m_bitmap = CreateCompatibleBitmap(target, size.cx, size.cy);
        m_formerBitmap = SelectObject(m_dc, m_bitmap);
        m_size = size;
        SetBkMode(m_dc, TRANSPARENT);
    }
    SelectObject(m_dc, font);
    return m_dc;
}

void CReportBuffer::CopyTo(HDC target, const RECT& place) const {
    BitBlt(target, place.left, place.top, place.right - place.left, place.bottom - place.top, m_dc, 0, 0, SRCCOPY);
}

void CReportBuffer::Free() {
    if (m_dc == nullptr) return;
    SelectObject(m_dc, m_formerBitmap);
    DeleteDC(m_dc);
    DeleteObject(m_bitmap);
    m_dc = nullptr;
}
