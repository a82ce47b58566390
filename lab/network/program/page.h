#pragma once

#include <string>
#include <vector>

namespace norvad::network {

// One HTML page that needs nothing else: the summary of a run and its pictures, each the text of an SVG file.
std::string PageText(const std::string& title, const std::string& summary, const std::vector<std::string>& pictures);

}  // namespace norvad::network
