#pragma once
#include <windows.h>
#include <vector>

// How a control follows its dialog's growth: each edge by a fraction of it, 0 stays, 1 goes all the way.
struct ResizeRule {
    float left = 0, top = 0, right = 0, bottom = 0;

    static constexpr ResizeRule Stay() { return {}; }
    static constexpr ResizeRule StretchRight() { return {0, 0, 1, 0}; }
    static constexpr ResizeRule MoveRight() { return {1, 0, 1, 0}; }
    static constexpr ResizeRule MoveDown() { return {0, 1, 0, 1}; }
    static constexpr ResizeRule MoveRightDown() { return {1, 1, 1, 1}; }
    static constexpr ResizeRule StretchDown() { return {0, 0, 0, 1}; }
    static constexpr ResizeRule StretchBoth() { return {0, 0, 1, 1}; }
};

// Where the control goes that was at place when the dialog had its first size; growth since then, in pixels.
RECT ResizedPlace(const RECT& place, SIZE growth, const ResizeRule& rule);

// Moves the controls of one dialog. GUI thread.
class CXTPResize {
  public:
    // The dialog's present size is its first one.
    void Begin(HWND dialog);
    // A control without a rule stays.
    void SetRule(int id, const ResizeRule& rule);
    void SetRule(HWND control, const ResizeRule& rule);
    void Apply();
    // The dialog may become lower than it was at first by so many pixels, which its rules take from what stretches down.
    void AllowLower(int pixels) { m_lower = pixels; }
    // The least size of the whole window: the first client area, less what it may be lower, within the present frame.
    SIZE MinimumSize() const { return {m_first.cx + m_frame.cx, m_first.cy + m_frame.cy - m_lower}; }
    bool IsStarted() const { return m_dialog != nullptr; }

  private:
    struct Entry {
        HWND control;
        RECT place;
        ResizeRule rule;
    };
    // The theme may change the frame at any time.
    void NoteFrame(const RECT& client);

    HWND m_dialog = nullptr;
    SIZE m_first = {};  // client area
    int m_lower = 0;
    SIZE m_frame = {};  // what the window is larger than its client area
    std::vector<Entry> m_entries;
};
