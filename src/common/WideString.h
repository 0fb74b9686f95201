#pragma once
#include <cstddef>
#include <string_view>

// A wide string in a shared block that is copied when it is written (copy on write). Copies of one string may be used by
// different threads; one object by one thread at a time. Nothing throws but std::bad_alloc.
class CWideString {
  public:
    CWideString() = default;
    explicit CWideString(std::wstring_view text);
    CWideString(const CWideString& other) noexcept;
    CWideString(CWideString&& other) noexcept;
    CWideString& operator=(CWideString other) noexcept;
    ~CWideString();

    const wchar_t* Text() const;  // terminated; never null
    std::size_t Length() const { return m_length; }
    std::wstring_view View() const { return {Text(), m_length}; }
    // Characters, terminator included, that fit without a larger block; 0 while there is none.
    std::size_t Capacity() const;
    bool IsShared() const;

    // The text may be a part of this string.
    void Append(std::wstring_view text);
    void Clear() noexcept;
#ifdef _WIN32
    // %s is wide text, %S narrow text in the ANSI code page. False, with nothing appended: the format failed.
    bool AppendFormat(const wchar_t* format, ...);
    bool AppendFormatList(const wchar_t* format, __builtin_va_list arguments);
#endif

    // The block of a string of that many characters: 16 bytes of header, the characters and their terminator, rounded to the
    // next multiple of 128 bytes strictly above.
    static constexpr std::size_t BlockBytes(std::size_t length) {
        constexpr std::size_t kFixed = 16 + sizeof(wchar_t);
        return (sizeof(wchar_t) * length + kFixed) / 128 * 128 + 128;
    }

  private:
    bool Holds(std::wstring_view text) const;
    // Makes the block this object's own and large enough for a text of that length, keeping the text.
    wchar_t* PrepareWrite(std::size_t length);

    wchar_t* m_text = nullptr;  // the header stands before it
    std::size_t m_length = 0;
};
