#include "daemon/control/parser_words.h"

#include <algorithm>

namespace norvad {

namespace {

constexpr char percentStandIn = '\x01';

}  // namespace

std::string HidePercents(std::string word) {
    std::replace(word.begin(), word.end(), '%', percentStandIn);
    return word;
}

std::string ShowPercents(std::string text) {
    std::replace(text.begin(), text.end(), percentStandIn, '%');
    return text;
}

}  // namespace norvad
