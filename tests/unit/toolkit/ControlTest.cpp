#include "ToolkitDialog.h"

namespace {

using ControlTest = ToolkitDialogTest;

TEST_F(ControlTest, AreDrawnInTheThemesColors) {
    Run([this](ToolkitDialog& dialog) {
        SetFocus(dialog.Item(15));
        EXPECT_EQ(dialog.PixelOf(12, 0, 0), Color(ThemeColor::ButtonBorder));
        EXPECT_EQ(dialog.PixelOf(12, 3, 3), Color(ThemeColor::ButtonFace));
        EXPECT_EQ(dialog.PixelOf(IDOK, 0, 0) == Color(ThemeColor::ButtonFace), false);  // not subclassed: the system's
        EXPECT_EQ(dialog.PixelOf(10, 0, 0), Color(ThemeColor::FieldBorder));
        EXPECT_EQ(dialog.PixelOf(10, 1, 1), Color(COLOR_WINDOW));
        EXPECT_EQ(dialog.PixelOf(11, 0, 0), Color(ThemeColor::FieldBorder));
        EXPECT_EQ(dialog.PixelOf(11, 2, 2), Color(COLOR_WINDOW));
        EXPECT_EQ(dialog.PixelOf(14, 60, 1), Color(COLOR_BTNFACE));
        EXPECT_EQ(dialog.PixelOf(15, 0, 0), Color(ThemeColor::FieldBorderFocus));
        EXPECT_EQ(dialog.PixelOf(15, 5, 5), Color(COLOR_WINDOW));
    });
}

TEST_F(ControlTest, ShowFocusDisabledAndPressed) {
    Run([this](ToolkitDialog& dialog) {
        for (const int id : {10, 11}) {
            SetFocus(dialog.Item(id));
            EXPECT_EQ(dialog.PixelOf(id, 0, 0), Color(ThemeColor::FieldBorderFocus)) << id;
            SetFocus(dialog.Item(12));
            EXPECT_EQ(dialog.PixelOf(id, 0, 0), Color(ThemeColor::FieldBorder)) << id;
            EnableWindow(dialog.Item(id), FALSE);
            EXPECT_EQ(dialog.PixelOf(id, 2, 2), Color(COLOR_BTNFACE)) << id;
        }
        EXPECT_EQ(dialog.PixelOf(12, 0, 0), Color(ThemeColor::ButtonBorderHot));
        SendMessageW(dialog.Item(12), BM_SETSTATE, TRUE, 0);
        EXPECT_EQ(dialog.PixelOf(12, 4, 4), Color(ThemeColor::ButtonFacePressed));
        SendMessageW(dialog.Item(12), BM_SETSTATE, FALSE, 0);
        EnableWindow(dialog.Item(12), FALSE);
        EXPECT_EQ(dialog.PixelOf(12, 4, 4), Color(ThemeColor::ButtonFaceDisabled));
    });
}

TEST_F(ControlTest, FollowAChangeOfTheTheme) {
    Run([this](ToolkitDialog& dialog) {
        dialog.AttachFrame(dialog.Handle(), m_paint);
        const COLORREF before = dialog.PixelOf(12, 3, 3);
        m_paint.SetPalette(Palette(100));
        BroadcastThemeChange(dialog.Handle());
        EXPECT_NE(dialog.PixelOf(12, 3, 3), before);
        EXPECT_EQ(dialog.PixelOf(12, 3, 3), Color(ThemeColor::ButtonFace));
        EXPECT_EQ(dialog.PixelOf(10, 1, 1), Color(COLOR_WINDOW));
        EXPECT_EQ(dialog.PixelOf(11, 2, 2), Color(COLOR_WINDOW));
        EXPECT_EQ(dialog.PixelOf(14, 60, 1), Color(COLOR_BTNFACE));
        EXPECT_EQ(dialog.PixelAt(dialog.WindowSize().cx / 2, 3), Color(ThemeColor::CaptionFace));
    });
}

TEST_F(ControlTest, TheKeyboardWorksAsEver) {
    Run([](ToolkitDialog& dialog) {
        dialog.Type(12, VK_SPACE);
        EXPECT_EQ(dialog.clicks, 1);
        dialog.Type(13, VK_SPACE);
        EXPECT_EQ(SendMessageW(dialog.Item(13), BM_GETCHECK, 0, 0), BST_CHECKED);
        for (const wchar_t* text : {L"One", L"Two", L"Three"})
            SendMessageW(dialog.Item(11), CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text));
        SendMessageW(dialog.Item(11), CB_SETCURSEL, 0, 0);
        dialog.Type(11, VK_DOWN);
        EXPECT_EQ(SendMessageW(dialog.Item(11), CB_GETCURSEL, 0, 0), 1);
        EXPECT_EQ(dialog.selections, 1);
        dialog.Type(10, L'7');
        EXPECT_EQ(dialog.ItemText(10), L"7");
        for (const wchar_t* text : {L"One", L"Two"})
            dialog.list.Add(text);
        dialog.list.Select(1);
        dialog.Type(15, VK_SPACE);
        EXPECT_TRUE(dialog.list.IsChecked(1));
        EXPECT_FALSE(dialog.list.IsChecked(0));
        EXPECT_EQ(dialog.checks, 1);
    });
}

TEST_F(ControlTest, AFieldsTextStandsInTheMiddle) {
    Run([](ToolkitDialog& dialog) {
        RECT window = {};
        RECT client = {};
        GetWindowRect(dialog.Item(10), &window);
        GetClientRect(dialog.Item(10), &client);
        POINT top = {};
        ClientToScreen(dialog.Item(10), &top);
        const HDC device = GetDC(dialog.Item(10));
        SelectObject(device, reinterpret_cast<HFONT>(SendMessageW(dialog.Item(10), WM_GETFONT, 0, 0)));
        TEXTMETRICW metrics = {};
        GetTextMetricsW(device, &metrics);
        ReleaseDC(dialog.Item(10), device);
        const LONG above = top.y - window.top;
        const LONG below = window.bottom - (top.y + metrics.tmHeight);
        EXPECT_LE(std::abs(above - below), 1);
        // A click beside the text is one into the field.
        EXPECT_EQ(SendMessageW(dialog.Item(10), WM_NCHITTEST, 0, MAKELPARAM(window.left + 30, window.top + 1)), HTCLIENT);
    });
}

TEST_F(ControlTest, AComboBoxIsAsHighAsTheFieldBesideIt) {
    Run([](ToolkitDialog& dialog) {
        RECT field = {};
        RECT combo = {};
        GetWindowRect(dialog.Item(10), &field);
        GetWindowRect(dialog.Item(11), &combo);
        EXPECT_EQ(combo.bottom - combo.top, field.bottom - field.top);
    });
}

// What the screen shows, without letting the control draw first.
COLORREF ShownPixel(HWND window, int x, int y) {
    const HDC device = GetWindowDC(window);
    const COLORREF color = GetPixel(device, x, y);
    ReleaseDC(window, device);
    return color;
}

TEST_F(ControlTest, AButtonNeverShowsTheSystemsLook) {
    Run([this](ToolkitDialog& dialog) {
        const HWND button = dialog.Item(12);
        ASSERT_EQ(dialog.PixelOf(12, 4, 4), Color(ThemeColor::ButtonFace));
        const COLORREF border = ShownPixel(button, 0, 0);
        for (const auto& [message, wParam] : {std::pair{BM_SETSTATE, TRUE},
                                              {BM_SETSTATE, FALSE},
                                              {WM_ENABLE, FALSE},
                                              {WM_ENABLE, TRUE},
                                              {BM_SETSTYLE, BS_DEFPUSHBUTTON},
                                              {WM_SETFOCUS, 0}}) {
            SendMessageW(button, static_cast<UINT>(message), static_cast<WPARAM>(wParam), 0);
            EXPECT_EQ(ShownPixel(button, 4, 4), Color(ThemeColor::ButtonFace)) << message;
            EXPECT_EQ(ShownPixel(button, 0, 0), border) << message;
        }
        EXPECT_TRUE(IsWindowVisible(button));
        EXPECT_EQ(dialog.PixelOf(12, 0, 0), Color(ThemeColor::ButtonBorderHot)) << "drawn when its turn has come";
    });
}

class ScrollTest : public ToolkitDialogTest {
  protected:
    static void Fill(HWND list, int count) {
        SendMessageW(list, LB_RESETCONTENT, 0, 0);
        for (int i = 0; i < count; ++i)
            SendMessageW(list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(L"Item"));
    }
    static LRESULT Top(HWND list) { return SendMessageW(list, LB_GETTOPINDEX, 0, 0); }
    static LPARAM OnScreen(HWND window, LONG x, LONG y) {
        RECT place = {};
        GetWindowRect(window, &place);
        return MAKELPARAM(place.left + x, place.top + y);
    }
    // As the mouse does: the button goes down in the frame, the moves come to the client area.
    static void Drag(HWND list, LONG x, LONG from, LONG to) {
        SendMessageW(list, WM_NCLBUTTONDOWN, HTBORDER, OnScreen(list, x, from));
        POINT corner = {};
        RECT window = {};
        ClientToScreen(list, &corner);
        GetWindowRect(list, &window);
        const LPARAM end = MAKELPARAM(x + window.left - corner.x, to + window.top - corner.y);
        SendMessageW(list, WM_MOUSEMOVE, MK_LBUTTON, end);
        SendMessageW(list, WM_LBUTTONUP, 0, end);
    }
};

TEST_F(ScrollTest, AListThatDoesNotFitHasABarInTheTheme) {
    Run([this](ToolkitDialog& dialog) {
        const HWND list = dialog.Item(15);
        RECT window = {};
        GetWindowRect(list, &window);
        const int x = static_cast<int>(window.right - window.left) - 3;
        const int bottom = static_cast<int>(window.bottom - window.top) - 3;
        Fill(list, 2);
        EXPECT_EQ(dialog.PixelOf(15, x, bottom), Color(COLOR_WINDOW));
        EXPECT_NE(SendMessageW(list, WM_NCHITTEST, 0, OnScreen(list, x, bottom)), HTBORDER);
        Fill(list, 30);
        EXPECT_EQ(dialog.PixelOf(15, x - 2, 3), Color(ThemeColor::ScrollThumb));
        EXPECT_EQ(dialog.PixelOf(15, x, bottom), Color(ThemeColor::ScrollTrack));
        EXPECT_EQ(SendMessageW(list, WM_NCHITTEST, 0, OnScreen(list, x, bottom)), HTBORDER);
        SendMessageW(list, LB_SETTOPINDEX, 30, 0);
        EXPECT_EQ(dialog.PixelOf(15, x - 2, bottom), Color(ThemeColor::ScrollThumb));
        Fill(list, 1);
        EXPECT_EQ(dialog.PixelOf(15, x, bottom), Color(COLOR_WINDOW)) << "the bar goes with the items";
    });
}

TEST_F(ScrollTest, TheBarTheWheelAndTheKeysScroll) {
    Run([](ToolkitDialog& dialog) {
        const HWND list = dialog.Item(15);
        RECT window = {};
        GetWindowRect(list, &window);
        const LONG x = window.right - window.left - 5;
        const LONG height = window.bottom - window.top;
        Fill(list, 30);
        RECT client = {};
        GetClientRect(list, &client);
        const LRESULT page = client.bottom / SendMessageW(list, LB_GETITEMHEIGHT, 0, 0);

        Drag(list, x, height - 4, height - 4);
        EXPECT_EQ(Top(list), page) << "the track, once";
        Drag(list, x, height - 4, height - 4);
        EXPECT_EQ(Top(list), 2 * page);
        SendMessageW(list, LB_SETTOPINDEX, 0, 0);
        Drag(list, x, 5, 500);
        EXPECT_EQ(Top(list), 30 - page) << "the thumb, to the end and beyond";
        EXPECT_NE(GetCapture(), list);
        SendMessageW(list, WM_MOUSEWHEEL, MAKEWPARAM(0, WHEEL_DELTA), OnScreen(list, 5, 5));
        EXPECT_LT(Top(list), 30 - page);
        for (int i = 0; i < 30; ++i)
            SendMessageW(list, WM_MOUSEWHEEL, MAKEWPARAM(0, WHEEL_DELTA), OnScreen(list, 5, 5));
        EXPECT_EQ(Top(list), 0);
        dialog.list.Select(0);
        dialog.Type(15, VK_END);
        EXPECT_EQ(Top(list), 30 - page);
        EXPECT_EQ(dialog.list.Selected(), 29);
    });
}

TEST_F(ScrollTest, AnOpenComboBoxScrollsToo) {
    Run([this](ToolkitDialog& dialog) {
        const HWND combo = dialog.Item(11);
        for (int i = 0; i < 40; ++i)
            SendMessageW(combo, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(L"Item"));
        SendMessageW(combo, CB_SETCURSEL, 0, 0);
        SendMessageW(combo, CB_SHOWDROPDOWN, TRUE, 0);
        COMBOBOXINFO info = {};
        info.cbSize = sizeof(info);
        ASSERT_TRUE(GetComboBoxInfo(combo, &info));
        UpdateWindow(info.hwndList);
        RECT window = {};
        GetWindowRect(info.hwndList, &window);
        const int x = static_cast<int>(window.right - window.left) - 5;
        EXPECT_EQ(ShownPixel(info.hwndList, x, static_cast<int>(window.bottom - window.top) - 3),
                  Color(ThemeColor::ScrollTrack));
        Drag(info.hwndList, x, 5, 500);
        EXPECT_GT(Top(info.hwndList), 20);
        EXPECT_NE(SendMessageW(combo, CB_GETDROPPEDSTATE, 0, 0), 0);
        for (int i = 0; i < 20; ++i)
            SendMessageW(combo, WM_MOUSEWHEEL, MAKEWPARAM(0, WHEEL_DELTA), 0);
        EXPECT_EQ(Top(info.hwndList), 0);
        EXPECT_EQ(SendMessageW(combo, CB_GETCURSEL, 0, 0), 0) << "scrolling is not choosing";
        SendMessageW(combo, CB_SHOWDROPDOWN, FALSE, 0);
    });
}

}  // namespace
