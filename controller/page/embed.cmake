# cmake -DOUT=... -DPAGE=... -P embed.cmake: writes the files of the page as a C++ source.
set(names index.html app.js chart.js style.css icon.svg)
set(types_html "text/html; charset=utf-8")
set(types_js "text/javascript; charset=utf-8")
set(types_css "text/css; charset=utf-8")
set(types_svg "image/svg+xml")
set(arrays "")
set(rows "")
set(number 0)
foreach(name ${names})
    file(READ ${PAGE}/${name} hex HEX)
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${hex}")
    string(REGEX REPLACE "^.*\\." "" kind ${name})
    string(APPEND arrays "constexpr char kFile${number}[] = {${bytes}};\n")
    set(path "/${name}")
    if(name STREQUAL "index.html")
        set(path "/")
    endif()
    string(APPEND rows "    {\"${path}\", \"${types_${kind}}\", {kFile${number}, sizeof kFile${number}}},\n")
    math(EXPR number "${number} + 1")
endforeach()
file(WRITE ${OUT} "#include \"serve/StaticFiles.h\"\n\nnamespace {\n\n${arrays}\nconstexpr StaticFile kFiles[] = {\n${rows}};\n\n}  // namespace\n
const StaticFile* FindStaticFile(std::string_view path) {
    for (const StaticFile& file : kFiles)
        if (path == file.path) return &file;
    return nullptr;
}\n")
