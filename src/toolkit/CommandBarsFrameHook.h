#pragma once
#include <windows.h>
#include <optional>
#include "toolkit/PaintManager.h"

// Where a point of the frame is; pure. All in pixels, relative to the window's top left corner.
struct FrameLayout {
    SIZE window = {};
    int border = 0;   // width of the edge by which the window is sized; 0 when it cannot be sized or is maximised
    int caption = 0;  // height of the caption, which begins below inset
    int inset = 0;    // what a maximised window hangs over its screen on each side
    int button = 0;   // width of a caption button
    bool canMinimize = false;
    bool canMaximize = false;
    bool hasIcon = true;  // a double click on it closes the window
};
// An HT... value: HTCAPTION, HTCLOSE, HTMAXBUTTON, HTMINBUTTON, HTSYSMENU, HTTOPLEFT ..., HTCLIENT.
LRESULT HitTestFrame(const FrameLayout& layout, POINT point);
// Place of the button with that hit-test value; empty when there is none.
RECT FrameButton(const FrameLayout& layout, LRESULT button);

// Draws the frame of a window in the theme and answers its non-client messages. The window keeps its styles, so moving,
// sizing, snapping and the system menu stay the system's. GUI thread.
class CXTPCommandBarsFrameHook {
  public:
    // paint outlives the hook.
    void AttachFrame(HWND window, const CXTPPaintManager& paint);
    void DetachFrame();

    // To be asked first for each message of the window. Nothing: the message goes its usual way.
    std::optional<LRESULT> OnFrameMessage(UINT message, WPARAM wParam, LPARAM lParam);

  private:
    void ChangeFrame(HWND window, HWND hooked);
    FrameLayout Layout() const;
    HICON Icon() const;  // null: the caption has none
    LRESULT OnCalcSize(WPARAM wParam, LPARAM lParam) const;
    LRESULT HitTestAt(POINT screen) const;
    bool OnButtonDown(LRESULT hit);
    std::optional<LRESULT> OnPressedMessage(UINT message, LPARAM lParam);
    void OnPressedMove(LRESULT hit);
    void OnButtonUp(LRESULT hit);
    void EndPress();
    void Hover(LRESULT hit);
    void Draw() const;
    void DrawCaption(HDC device, const RECT& area, const FrameLayout& layout) const;
    void DrawButton(HDC device, const FrameLayout& layout, LRESULT button) const;
    // Runs the original handling without it drawing the system's frame.
    LRESULT WithoutDrawing(UINT message, WPARAM wParam, LPARAM lParam) const;

    HWND m_window = nullptr;
    const CXTPPaintManager* m_paint = nullptr;
    bool m_active = true;
    bool m_tracking = false;
    LRESULT m_hover = HTNOWHERE;
    LRESULT m_pressed = HTNOWHERE;
};
