#pragma once
#include <cstddef>
#include <span>
#include <string>
#include <string_view>

enum class EventKind { Program, Mining, Pool, Gpu, PlugIn, Fee, Configuration, Control, Guard };

// Where the few things go that somebody who was away wants to know. Any thread; never waits for the disk.
class IEventSink {
  public:
    virtual ~IEventSink() = default;
    // subject: the pool's name, "GPU 0" or what else the event is about; may be empty.
    virtual void Event(EventKind kind, std::wstring_view subject, std::wstring_view text) = 0;
};

// "<kind> TAB <subject> TAB <text>", fit for one line. Portable.
std::wstring EventText(EventKind kind, std::wstring_view subject, std::wstring_view text);

inline constexpr std::size_t kMostEventCharacters = 2100;
// The same into a buffer of kMostEventCharacters, for code that must not allocate.
std::wstring_view WriteEventText(std::span<wchar_t> buffer, EventKind kind, std::wstring_view subject,
                                 std::wstring_view text);
