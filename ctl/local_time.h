#pragma once

#include <sys/time.h>

#include <string>

namespace norvad::ctl {

// In the time zone of the user.
std::string LocalTimeText(const timeval& time);     // "2026-03-29 14:05:00"
std::string LocalTimeRfc3339(const timeval& time);  // "2026-03-29T14:05:00+02:00"

}  // namespace norvad::ctl
