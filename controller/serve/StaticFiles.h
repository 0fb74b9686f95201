#pragma once
#include <string_view>

struct StaticFile {
    const char* path;
    const char* contentType;
    std::string_view content;
};

// The files of the web page, which are part of the executable. Null: there is none of that path.
const StaticFile* FindStaticFile(std::string_view path);
