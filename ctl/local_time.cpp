#include "ctl/local_time.h"

#include <fmt/chrono.h>

#include <cstdlib>
#include <ctime>

namespace norvad::ctl {

namespace {

tm LocalTime(const timeval& time) {
    tm local{};
    (void)localtime_r(&time.tv_sec, &local);
    return local;
}

}  // namespace

std::string LocalTimeText(const timeval& time) {
    return fmt::format("{:%Y-%m-%d %H:%M:%S}", LocalTime(time));
}

std::string LocalTimeRfc3339(const timeval& time) {
    const tm local = LocalTime(time);
    const long minutes = std::labs(local.tm_gmtoff) / 60;
    return fmt::format("{:%Y-%m-%dT%H:%M:%S}{}{:02}:{:02}", local, local.tm_gmtoff < 0 ? '-' : '+', minutes / 60,
                       minutes % 60);
}

}  // namespace norvad::ctl
