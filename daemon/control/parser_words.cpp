#include "daemon/control/parser_words.h"

#include <algorithm>
#include <boost/program_options/errors.hpp>
#include <string_view>
#include <utility>

namespace norvad {

namespace {

// Options and numbers are made of letters, digits and a few signs; a NUL would end a text.
bool MayStandIn(char c) {
    constexpr std::string_view meaningful = "+-=%_.,";
    const bool letterOrDigit = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    const bool blank = c == ' ' || (c >= '\t' && c <= '\r');
    return c != '\0' && !letterOrDigit && !blank && meaningful.find(c) == std::string_view::npos;
}

bool Hold(const std::vector<std::string>& words, char c) {
    return std::any_of(words.begin(), words.end(),
                       [c](const std::string& word) { return word.find(c) != std::string::npos; });
}

char FindStandIn(const std::vector<std::string>& words) {
    for (int code = 1; code <= 0xFF; ++code) {
        const auto c = static_cast<char>(code);
        if (MayStandIn(c) && !Hold(words, c)) return c;
    }
    throw boost::program_options::error("the command line holds every character");
}

}  // namespace

ParserWords::ParserWords(std::vector<std::string> given) : words(std::move(given)) {
    if (!Hold(words, '%')) return;
    standIn = FindStandIn(words);
    for (std::string& word : words) std::replace(word.begin(), word.end(), '%', standIn);
}

std::string ParserWords::Shown(std::string text) const {
    std::replace(text.begin(), text.end(), standIn, '%');
    return text;
}

}  // namespace norvad
