#pragma once

#include <span>
#include <string_view>

namespace norvad::ctl {

// The status page, as it was when the program was built: all files that it is made of.
struct PageFile {
    std::string_view path;  // "/page.css"
    std::string_view type;
    std::string_view content;
};

std::span<const PageFile> PageFiles();

}  // namespace norvad::ctl
