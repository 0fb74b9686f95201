#include "toolkit/report/ReportScrollBar.h"

#include <algorithm>

void CReportScrollBar::Place(const RECT& rect, const ReportScrollRange& range, int minThumb) {
    m_rect = rect;
    m_range = range;
    m_minThumb = minThumb;
}

int CReportScrollBar::Track() const {
    return static_cast<int>(IsVertical() ? m_rect.bottom - m_rect.top : m_rect.right - m_rect.left);
}

int CReportScrollBar::Along(POINT point) const {
    return static_cast<int>(IsVertical() ? point.y - m_rect.top : point.x - m_rect.left);
}

ReportSpan CReportScrollBar::Thumb() const {
    return ReportThumb(m_range, Track(), m_minThumb);
}

int CReportScrollBar::Press(POINT point) {
    const ReportSpan thumb = Thumb();
    const int at = Along(point);
    const bool onThumb = at >= thumb.begin && at < thumb.end;
    m_grip = onThumb ? Grip::Thumb : Grip::Track;
    m_grippedAt = at - thumb.begin;
    return onThumb ? m_range.position : RepeatPage(point);
}

int CReportScrollBar::Move(POINT point) const {
    if (m_grip != Grip::Thumb) return m_range.position;
    return ReportPositionForThumb(m_range, Track(), m_minThumb, Along(point) - m_grippedAt);
}

int CReportScrollBar::RepeatPage(POINT point) const {
    const ReportSpan thumb = Thumb();
    const int at = Along(point);
    const int page = std::max(m_range.page, 1);
    if (!PtInRect(&m_rect, point)) return m_range.position;
    if (at < thumb.begin) return std::max(m_range.position - page, 0);
    if (at >= thumb.end) return std::min(m_range.position + page, std::max(m_range.total - page, 0));
    return m_range.position;
}

void CReportScrollBar::Release() {
    m_grip = Grip::None;
}

bool CReportScrollBar::SetHot(bool hot) {
    const bool changed = m_hot != hot;
    m_hot = hot;
    return changed;
}

RECT CReportScrollBar::ThumbRect() const {
    const ReportSpan thumb = Thumb();
    RECT rect = m_rect;
    if (IsVertical()) {
        const LONG inset = (m_rect.right - m_rect.left) / 5;
        return {rect.left + inset, rect.top + thumb.begin, rect.right - inset, rect.top + thumb.end};
    }
    const LONG inset = (m_rect.bottom - m_rect.top) / 5;
    return {rect.left + thumb.begin, rect.top + inset, rect.left + thumb.end, rect.bottom - inset};
}

void CReportScrollBar::Draw(HDC dc, const CXTPPaintManager& paintManager) const {
    if (IsRectEmpty(&m_rect)) return;
    const bool lit = m_hot || m_grip == Grip::Thumb;
    const RECT thumb = ThumbRect();
    // Every pixel is drawn once: nothing to flicker.
    const int saved = SaveDC(dc);
    FillRect(dc, &thumb, paintManager.GetBrush(lit ? ThemeColor::ScrollThumbHot : ThemeColor::ScrollThumb));
    ExcludeClipRect(dc, thumb.left, thumb.top, thumb.right, thumb.bottom);
    FillRect(dc, &m_rect, paintManager.GetBrush(ThemeColor::ScrollTrack));
    RestoreDC(dc, saved);
}
