#include "toolkit/Resize.h"

#include <cmath>

namespace {

LONG Moved(LONG edge, LONG growth, float fraction) {
    return edge + std::lround(static_cast<float>(growth) * fraction);
}

RECT PlaceIn(HWND dialog, HWND control) {
    RECT place = {};
    GetWindowRect(control, &place);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&place), 2);
    return place;
}

}  // namespace

RECT ResizedPlace(const RECT& place, SIZE growth, const ResizeRule& rule) {
    return {Moved(place.left, growth.cx, rule.left), Moved(place.top, growth.cy, rule.top),
            Moved(place.right, growth.cx, rule.right), Moved(place.bottom, growth.cy, rule.bottom)};
}

void CXTPResize::Begin(HWND dialog) {
    RECT client = {};
    GetClientRect(dialog, &client);
    m_dialog = dialog;
    m_first = {client.right, client.bottom};
    m_entries.clear();
    NoteFrame(client);
}

void CXTPResize::NoteFrame(const RECT& client) {
    if (IsZoomed(m_dialog) || IsIconic(m_dialog)) return;
    RECT window = {};
    GetWindowRect(m_dialog, &window);
    m_frame = {window.right - window.left - client.right, window.bottom - window.top - client.bottom};
}

void CXTPResize::SetRule(int id, const ResizeRule& rule) {
    SetRule(GetDlgItem(m_dialog, id), rule);
}

void CXTPResize::SetRule(HWND control, const ResizeRule& rule) {
    if (control != nullptr) m_entries.push_back({control, PlaceIn(m_dialog, control), rule});
}

void CXTPResize::Apply() {
    RECT client = {};
    GetClientRect(m_dialog, &client);
    NoteFrame(client);
    const SIZE growth = {client.right - m_first.cx, client.bottom - m_first.cy};
    HDWP positions = BeginDeferWindowPos(static_cast<int>(m_entries.size()));
    for (const Entry& entry : m_entries) {
        if (positions == nullptr) return;
        const RECT place = ResizedPlace(entry.place, growth, entry.rule);
        const SIZE size = {place.right - place.left, place.bottom - place.top};
        // To set the size of a closed drop-down list would take its list away.
        const bool keepsSize = entry.rule.left == entry.rule.right && entry.rule.top == entry.rule.bottom;
        positions = DeferWindowPos(positions, entry.control, nullptr, place.left, place.top, size.cx, size.cy,
                                   SWP_NOZORDER | SWP_NOACTIVATE | (keepsSize ? SWP_NOSIZE : 0U));
    }
    if (positions != nullptr) EndDeferWindowPos(positions);
    // What the system copies of moved controls may be of before they were drawn, or of another one's place.
    RedrawWindow(m_dialog, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}
