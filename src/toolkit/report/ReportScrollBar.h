#pragma once
#include <windows.h>

#include "toolkit/PaintManager.h"
#include "toolkit/report/ReportLayout.h"

enum class ReportDirection { Vertical, Horizontal };

// A thin scroll bar within its owner's window: its place, its state and its look. The owner passes the mouse on, in client
// coordinates, scrolls to the positions that come back, and redraws.
class CReportScrollBar {
  public:
    explicit CReportScrollBar(ReportDirection direction) : m_direction(direction) {}

    // An empty rectangle takes the bar away.
    void Place(const RECT& rect, const ReportScrollRange& range, int minThumb);
    const RECT& Rect() const { return m_rect; }

    // The thumb is gripped, or the track pressed, which asks for a page at a time until the thumb is under the pointer.
    // These return the position to scroll to.
    int Press(POINT point);
    int Move(POINT point) const;
    int RepeatPage(POINT point) const;
    void Release();
    bool IsPressed() const { return m_grip != Grip::None; }
    bool IsPaging() const { return m_grip == Grip::Track; }

    // True when it looks different now.
    bool SetHot(bool hot);
    void Draw(HDC dc, const CXTPPaintManager& paintManager) const;

  private:
    enum class Grip { None, Thumb, Track };

    bool IsVertical() const { return m_direction == ReportDirection::Vertical; }
    int Track() const;
    int Along(POINT point) const;  // from the track's beginning
    ReportSpan Thumb() const;
    RECT ThumbRect() const;

    ReportDirection m_direction;
    RECT m_rect = {};
    ReportScrollRange m_range;
    int m_minThumb = 0;
    Grip m_grip = Grip::None;
    int m_grippedAt = 0;  // from the thumb's beginning
    bool m_hot = false;
};
