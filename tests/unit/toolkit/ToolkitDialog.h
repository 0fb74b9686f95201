#pragma once
#include <gtest/gtest.h>
#include <functional>

#include "toolkit/Button.h"
#include "toolkit/ComboBox.h"
#include "toolkit/CommandBarsFrameHook.h"
#include "toolkit/Edit.h"
#include "toolkit/ListBox.h"
#include "toolkit/ResizeDialog.h"

// The dialog of ToolkitTest.rc with each kind of control in the theme. It runs script as soon as it is shown, then ends.
class ToolkitDialog : public CXTPResizeDialog, public CXTPCommandBarsFrameHook {
  public:
    ToolkitDialog(CXTPPaintManager& paint, std::function<void(ToolkitDialog&)> script)
        : CXTPResizeDialog(500, paint), m_script(std::move(script)) {}

    using CDialog::EndDialog;
    using CDialog::Item;
    using CDialog::ItemText;
    using CDialog::SetItemText;
    using CXTPResizeDialog::Resize;

    // What GDI shows of the whole window at that place, relative to its top left corner.
    COLORREF PixelAt(LONG x, LONG y) const {
        RedrawWindow(Handle(), nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
        const HDC device = GetWindowDC(Handle());
        const COLORREF color = GetPixel(device, x, y);
        ReleaseDC(Handle(), device);
        return color;
    }
    // Of a control, relative to its own corner.
    COLORREF PixelOf(int id, int x, int y) const {
        RedrawWindow(Handle(), nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
        const HDC device = GetWindowDC(Item(id));
        const COLORREF color = GetPixel(device, x, y);
        ReleaseDC(Item(id), device);
        return color;
    }
    SIZE ClientSize() const {
        RECT client = {};
        GetClientRect(Handle(), &client);
        return {client.right, client.bottom};
    }
    SIZE WindowSize() const {
        RECT window = {};
        GetWindowRect(Handle(), &window);
        return {window.right - window.left, window.bottom - window.top};
    }
    // As if typed: to the control, through the dialog's keyboard handling.
    void Type(int id, WPARAM key) const {
        SetFocus(Item(id));
        for (const UINT message : {UINT{WM_KEYDOWN}, UINT{WM_KEYUP}}) {
            MSG typed = {Item(id), message, key, message == WM_KEYUP ? static_cast<LPARAM>(0xC0000001) : 1, 0, {}};
            if (!IsDialogMessageW(Handle(), &typed)) {
                TranslateMessage(&typed);
                DispatchMessageW(&typed);
            }
        }
        MSG message;
        while (PeekMessageW(&message, Item(id), WM_CHAR, WM_CHAR, PM_REMOVE))
            DispatchMessageW(&message);
    }

    int clicks = 0;
    int selections = 0;
    int checks = 0;
    CXTPEdit edit{Paint()};
    CXTPComboBox combo{Paint()};
    CXTPButton button{Paint()};
    CXTPButton check{Paint()};
    CXTPListBox list{Paint(), CXTPListBox::Kind::Checks};

  protected:
    static constexpr UINT kRunScript = WM_APP;

    bool OnInitDialog() override {
        edit.SubclassDlgItem(Handle(), 10);
        combo.SubclassDlgItem(Handle(), 11);
        button.SubclassDlgItem(Handle(), 12);
        check.SubclassDlgItem(Handle(), 13);
        list.SubclassDlgItem(Handle(), 15);
        PostMessageW(Handle(), kRunScript, 0, 0);
        return true;
    }
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override {
        if (message == kRunScript) {
            SetWindowPos(Handle(), HWND_TOP, 40, 40, 0, 0, SWP_NOSIZE | SWP_SHOWWINDOW);
            m_script(*this);
            EndDialog(7);
            return 0;
        }
        if (message == WM_COMMAND) {
            if (wParam == MAKEWPARAM(12, BN_CLICKED)) ++clicks;
            if (wParam == MAKEWPARAM(11, CBN_SELCHANGE)) ++selections;
            if (wParam == MAKEWPARAM(15, CXTPListBox::kItemChecked)) ++checks;
        }
        if (const auto result = OnFrameMessage(message, wParam, lParam)) return *result;
        return CXTPResizeDialog::OnMessage(message, wParam, lParam);
    }

  private:
    const std::function<void(ToolkitDialog&)> m_script;
};

// Colours that no system uses, each different, so that a pixel tells what was drawn.
class ToolkitDialogTest : public testing::Test {
  protected:
    void SetUp() override { m_paint.SetPalette(Palette(0)); }

    static ThemePalette Palette(int variant) {
        ThemePalette palette;
        for (std::size_t i = 0; i < palette.system.size(); ++i)
            palette.system[i] = RGB(3 + 7 * i, 200, 17 + variant);
        for (std::size_t i = 0; i < palette.parts.size(); ++i)
            palette.parts[i] = RGB(200, 2 + 6 * i, 31 + variant);
        return palette;
    }
    void Run(std::function<void(ToolkitDialog&)> script) {
        ToolkitDialog dialog(m_paint, std::move(script));
        EXPECT_EQ(dialog.DoModal(nullptr), 7);
        EXPECT_EQ(dialog.Handle(), nullptr);
    }
    COLORREF Color(int systemIndex) const { return m_paint.GetColor(systemIndex); }
    COLORREF Color(ThemeColor part) const { return m_paint.GetColor(part); }

    CXTPPaintManager m_paint;
};
