#pragma once
#include <windows.h>
#include <array>
#include <cstddef>
#include <optional>
#include <tuple>
#include <type_traits>
#include <utility>

#include "toolkit/MessageArguments.h"

// The messages that a class of windows handles, as one table in its OnMessage:
//
//     static constexpr std::array kMap = {
//         MapMessage<WM_TIMER, &CClockDlg::OnTimer>(),
//         MapCommand<&CClockDlg::OnStart>(IDC_START, BN_CLICKED),
//     };
//     if (const auto result = DispatchByMap(*this, kMap, message, wParam, lParam)) return *result;
//     return CDialog::OnMessage(message, wParam, lParam);
//
// A handler takes what its message carries (MessageArguments; a command: its int id; a notification: const NMHDR&), the
// first of it, or nothing; anything else does not compile. It returns nothing (the message is done, its result 0), LRESULT,
// bool (false: the message goes on) or std::optional<LRESULT>. What goes on comes to the next entry that fits, then to the
// base.

// As the id of a command: of any control.
inline constexpr int kAnyId = -1;

template <typename Window>
struct MessageMapEntry {
    UINT message;
    int id;     // of WM_COMMAND and WM_NOTIFY
    UINT code;  // of the same
    std::optional<LRESULT> (*handle)(Window&, WPARAM, LPARAM);

    bool Fits(UINT sent, WPARAM wParam, LPARAM lParam) const {
        if (sent != message) return false;
        if (message == WM_COMMAND) return HIWORD(wParam) == code && (id == kAnyId || LOWORD(wParam) == id);
        if (message != WM_NOTIFY) return true;
        const auto& header = *reinterpret_cast<const NMHDR*>(lParam);
        return header.code == code && header.idFrom == static_cast<UINT_PTR>(id);
    }
};

template <typename Member>
struct HandlerTraits;

template <typename Class, typename Returned, typename... Parameters>
struct HandlerTraits<Returned (Class::*)(Parameters...)> {
    using Window = Class;
    using Result = Returned;
    using Arguments = std::tuple<Parameters...>;
};

template <typename Class, typename Returned, typename... Parameters>
struct HandlerTraits<Returned (Class::*)(Parameters...) const> : HandlerTraits<Returned (Class::*)(Parameters...)> {};

template <auto handler>
using HandlerWindow = typename HandlerTraits<decltype(handler)>::Window;

template <auto handler, typename Carried, std::size_t... index>
std::optional<LRESULT> CallHandler(HandlerWindow<handler>& window, const Carried& carried, std::index_sequence<index...>) {
    using Traits = HandlerTraits<decltype(handler)>;
    static_assert(std::is_same_v<typename Traits::Arguments, std::tuple<std::tuple_element_t<index, Carried>...>>,
                  "the handler takes something else than its message carries");
    if constexpr (std::is_void_v<typename Traits::Result>) {
        (window.*handler)(std::get<index>(carried)...);
        return 0;
    } else if constexpr (std::is_same_v<typename Traits::Result, bool>) {
        if (!(window.*handler)(std::get<index>(carried)...)) return std::nullopt;
        return 0;
    } else {
        return (window.*handler)(std::get<index>(carried)...);
    }
}

template <auto handler, typename Carried>
std::optional<LRESULT> CallHandler(HandlerWindow<handler>& window, const Carried& carried) {
    constexpr std::size_t kTaken = std::tuple_size_v<typename HandlerTraits<decltype(handler)>::Arguments>;
    static_assert(kTaken <= std::tuple_size_v<Carried>, "the handler takes more than its message carries");
    return CallHandler<handler>(window, carried, std::make_index_sequence<kTaken>());
}

template <UINT message, auto handler>
constexpr MessageMapEntry<HandlerWindow<handler>> MapMessage() {
    static_assert(message != WM_COMMAND && message != WM_NOTIFY, "MapCommand and MapNotify are for these");
    return {message, kAnyId, 0, [](HandlerWindow<handler>& window, WPARAM wParam, LPARAM lParam) {
                return CallHandler<handler>(window, MessageArguments<message>(wParam, lParam));
            }};
}

// code: BN_CLICKED, EN_CHANGE ...
template <auto handler>
constexpr MessageMapEntry<HandlerWindow<handler>> MapCommand(int id, UINT code) {
    return {WM_COMMAND, id, code, [](HandlerWindow<handler>& window, WPARAM wParam, LPARAM) {
                return CallHandler<handler>(window, std::tuple<int>(LOWORD(wParam)));
            }};
}

template <auto handler>
constexpr MessageMapEntry<HandlerWindow<handler>> MapNotify(int id, UINT code) {
    return {WM_NOTIFY, id, code, [](HandlerWindow<handler>& window, WPARAM, LPARAM lParam) {
                return CallHandler<handler>(window, std::tuple<const NMHDR&>(*reinterpret_cast<const NMHDR*>(lParam)));
            }};
}

template <typename Window, std::size_t count>
std::optional<LRESULT> DispatchByMap(Window& window, const std::array<MessageMapEntry<Window>, count>& map, UINT message,
                                     WPARAM wParam, LPARAM lParam) {
    for (const MessageMapEntry<Window>& entry : map) {
        if (!entry.Fits(message, wParam, lParam)) continue;
        if (const std::optional<LRESULT> result = entry.handle(window, wParam, lParam)) return result;
    }
    return std::nullopt;
}
