#include "gui/LocalTimeText.h"

#include "common/SystemTime.h"

std::wstring LocalTimeText(ddt_datetime utc) {
    return utc.IsSet() ? TimeText(LocalFromUtc(utc), nullptr) : std::wstring();
}

std::wstring LocalDateTimeText(ddt_datetime utc) {
    if (!utc.IsSet()) return {};
    return DateText(LocalFromUtc(utc), nullptr).append(L" ").append(LocalTimeText(utc));
}
