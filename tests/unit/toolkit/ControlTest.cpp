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

TEST_F(ControlTest, AnswerTheMessagesOfOtherPrograms) {
    Run([](ToolkitDialog& dialog) {
        SendMessageW(dialog.Item(12), BM_CLICK, 0, 0);
        EXPECT_EQ(dialog.clicks, 1);
        SendMessageW(dialog.Item(10), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"text"));
        wchar_t text[8] = {};
        EXPECT_EQ(SendMessageW(dialog.Item(10), WM_GETTEXT, 8, reinterpret_cast<LPARAM>(text)), 4);
        EXPECT_STREQ(text, L"text");
        SendMessageW(dialog.Item(10), EM_LIMITTEXT, 5, 0);
        EXPECT_EQ(SendMessageW(dialog.Item(10), EM_GETLIMITTEXT, 0, 0), 5);
        EXPECT_EQ(SendMessageW(dialog.Item(12), WM_GETTEXTLENGTH, 0, 0), 3);
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

}  // namespace
