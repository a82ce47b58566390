# cmake -DOUTPUT=... -DFILES=... -P EmbedPage.cmake: writes the source of PageFiles() (ctl/serve/page_files.h) with the
# files in it. index.html is what the root shows.

set(type_html "text/html; charset=utf-8")
set(type_css "text/css; charset=utf-8")
set(type_js "text/javascript; charset=utf-8")
set(type_svg "image/svg+xml")

set(contents "")
set(entries "")
foreach(file ${FILES})
    get_filename_component(name ${file} NAME)
    get_filename_component(extension ${file} LAST_EXT)
    string(SUBSTRING ${extension} 1 -1 extension)
    string(MAKE_C_IDENTIFIER ${name} identifier)
    set(path "/${name}")
    if(name STREQUAL "index.html")
        set(path "/")
    endif()
    file(READ ${file} bytes HEX)
    string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
    string(APPEND contents "constexpr unsigned char ${identifier}[] = {${bytes}};\n")
    string(APPEND entries "    {\"${path}\", \"${type_${extension}}\", Text(${identifier})},\n")
endforeach()

file(WRITE ${OUTPUT} "#include \"ctl/serve/page_files.h\"

namespace norvad::ctl {

namespace {

${contents}
template <size_t size>
std::string_view Text(const unsigned char (&bytes)[size]) {
    return {reinterpret_cast<const char*>(bytes), size};
}

const PageFile files[] = {
${entries}};

}  // namespace

std::span<const PageFile> PageFiles() {
    return files;
}

}  // namespace norvad::ctl
")
