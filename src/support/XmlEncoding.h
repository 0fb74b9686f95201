#pragma once
#include <string>
#include <string_view>

// The text of an XML file as UTF-8, without a byte order mark. UTF-16 is known by its mark; a declared encoding counts when
// it is one of those that a program saves as "ANSI" (windows-125x, iso-8859-x); other text is UTF-8 where it can be, else in
// the system's ANSI code page, as an editor leaves it that saves as such without changing the declaration. Never fails. Any
// thread.
std::string XmlTextToUtf8(std::string_view bytes);
