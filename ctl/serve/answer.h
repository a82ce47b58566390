#pragma once

#include <string>
#include <string_view>

namespace norvad::ctl {

// What a request is answered with, but for the fields that every answer has.
struct Answer {
    unsigned status = 200;
    std::string_view type = "text/plain; charset=utf-8";
    std::string body{};
};

}  // namespace norvad::ctl
