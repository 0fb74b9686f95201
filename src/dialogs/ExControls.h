#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include "toolkit/Button.h"
#include "toolkit/ComboBox.h"
#include "toolkit/Edit.h"
#include "toolkit/Tip.h"

// A label with a background and text colours of its own; until they are set, the theme's. One with SS_CENTERIMAGE shows one
// line in the middle, narrower where it would be cut; any other wraps its text.
class CExStatic : public CXTPControl {
  public:
    using CXTPControl::CXTPControl;

    void SetBackgroundColor(COLORREF color);
    void SetTextColor(COLORREF color);
    COLORREF BackgroundColor() const { return m_background.value_or(Paint().GetColor(COLOR_BTNFACE)); }
    // The theme's background again.
    void ResetBackgroundColor();

  protected:
    void OnDraw(HDC device, const RECT& area) override;

  private:
    void DrawLine(HDC device, const std::wstring& text, RECT area, COLORREF color) const;

    std::optional<COLORREF> m_background;
    std::optional<COLORREF> m_text;
};

// A caption with a line behind it.
class CExSeparator : public CXTPControl {
  public:
    using CXTPControl::CXTPControl;

  protected:
    void OnDraw(HDC device, const RECT& area) override;
};

// One line about something that runs, on the dialog's ground: red for a problem, amber for a warning. What does not fit is
// cut and shown by the mouse over it, for which the template needs SS_NOTIFY.
class CExNote : public CXTPControl {
  public:
    explicit CExNote(CXTPPaintManager& paint) : CXTPControl(paint), m_tip(paint) {}

    void Show(const std::wstring& text, bool isProblem);

  protected:
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void OnDraw(HDC device, const RECT& area) override;

  private:
    void ShowTip();

    bool m_isProblem = false;
    CXTPTip m_tip;
};

class CExButton : public CXTPButton {
  public:
    using CXTPButton::CXTPButton;
};

class CExComboBox : public CXTPComboBox {
  public:
    using CXTPComboBox::CXTPComboBox;

    // position -1: at the end. Returns the index, or CB_ERR.
    int AddItem(const std::wstring& text, std::uint64_t data, int position = -1);
    // The first item with that data. 0, or 24 when there is none: the selection stays then.
    int SelectByData(std::uint64_t data);
    // index -1: of the selected item. 0 when there is none.
    std::uint64_t ItemData(int index = -1) const;
    int Count() const { return static_cast<int>(SendMessageW(Handle(), CB_GETCOUNT, 0, 0)); }
    int Selected() const { return static_cast<int>(SendMessageW(Handle(), CB_GETCURSEL, 0, 0)); }
    void Select(int index) { SendMessageW(Handle(), CB_SETCURSEL, static_cast<WPARAM>(index), 0); }
    void Clear() { SendMessageW(Handle(), CB_RESETCONTENT, 0, 0); }
};

class CExEdit : public CXTPEdit {
  public:
    using CXTPEdit::CXTPEdit;
    void SetNumber(std::uint64_t number) { SetText(std::to_wstring(number)); }
};
