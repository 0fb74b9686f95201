#include "ReportFixture.h"
#include "toolkit/report/ReportText.h"

namespace {

// What is on the screen, by pixel: theme colours, the selection with and without focus, the text of an empty grid.
class ReportPixels : public ReportControl {
  protected:
    void SetUp() override {
        ThemePalette palette = ThemePalette::FromSystem();
        const auto set = [&palette](ThemeColor part, COLORREF color) {
            palette.parts[static_cast<std::size_t>(part)] = color;
        };
        set(ThemeColor::RowFace, kFace);
        set(ThemeColor::RowStripe, kStripe);
        set(ThemeColor::RowSelected, kSelected);
        set(ThemeColor::RowSelectedInactive, kInactive);
        set(ThemeColor::FieldBorder, kBorder);
        palette.system[COLOR_GRAYTEXT] = kGray;
        m_paintManager.SetPalette(palette);
        ReportControl::SetUp();
    }

    COLORREF PixelAt(int x, int y) {
        UpdateWindow(m_report.Handle());
        const HDC dc = GetDC(m_report.Handle());
        const COLORREF color = GetPixel(dc, x, y);
        ReleaseDC(m_report.Handle(), dc);
        return color;
    }
    // Where the text in the middle of an empty grid begins; 300 without one.
    int TextBegin() {
        for (int x = 0; x < 300; ++x)
            for (int y = 104; y < 118; ++y)
                if (PixelAt(x, y) != kFace) return x;
        return 300;
    }

    static constexpr COLORREF kFace = RGB(1, 2, 3);
    static constexpr COLORREF kStripe = RGB(4, 5, 6);
    static constexpr COLORREF kSelected = RGB(0, 0, 200);
    static constexpr COLORREF kInactive = RGB(90, 90, 90);
    static constexpr COLORREF kBorder = RGB(250, 0, 250);
    static constexpr COLORREF kGray = RGB(200, 200, 200);
};

TEST_F(ReportPixels, RowsAreStripedAndTheSelectionShowsTheFocus) {
    ShowRows(3);
    const int first = YOfRow(0) + 3;
    const int second = YOfRow(1) + 3;
    m_report.ResetState();
    EXPECT_EQ(PixelAt(2, first), kFace);
    EXPECT_EQ(PixelAt(2, second), kStripe);
    SetFocus(m_report.Handle());
    m_report.SetFocusedRow(0);
    EXPECT_EQ(PixelAt(2, first), kSelected);
    SetFocus(m_parent);
    EXPECT_EQ(PixelAt(2, first), kInactive);
    EXPECT_EQ(PixelAt(2, second), kStripe);
}

TEST_F(ReportPixels, AnEmptyGridShowsItsTextInTheMiddle) {
    ShowRows(0);
    EXPECT_EQ(TextBegin(), 300);
    const std::wstring text = L"Nothing to see here";
    m_report.SetEmptyText(text);
    const LONG width = TextSize(m_report.Handle(), static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT)), text).cx;
    EXPECT_NEAR(TextBegin(), (300 - width) / 2, 2);
    ShowRows(1);
    EXPECT_EQ(PixelAt(150, 120), kFace);
}

TEST_F(ReportPixels, ANewThemeIsDrawnAtOnceBorderIncluded) {
    ShowRows(3);
    SetWindowLongPtrW(m_report.Handle(), GWL_STYLE, WS_CHILD | WS_VISIBLE | WS_BORDER);
    SetWindowPos(m_report.Handle(), nullptr, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_FRAMECHANGED);
    const int y = YOfRow(0) + 3;
    m_report.ResetState();
    EXPECT_EQ(PixelAt(2, y), kFace);
    ThemePalette other = ThemePalette::FromSystem();
    other.parts[static_cast<std::size_t>(ThemeColor::RowFace)] = RGB(77, 88, 99);
    other.parts[static_cast<std::size_t>(ThemeColor::FieldBorder)] = RGB(11, 22, 33);
    m_paintManager.SetPalette(other);
    BroadcastThemeChange(m_report.Handle());
    EXPECT_EQ(PixelAt(2, y), RGB(77, 88, 99));
    const HDC dc = GetWindowDC(m_report.Handle());
    EXPECT_EQ(GetPixel(dc, 0, 50), RGB(11, 22, 33));
    EXPECT_EQ(GetPixel(dc, 299, 199), RGB(11, 22, 33));
    ReleaseDC(m_report.Handle(), dc);
}

}  // namespace
