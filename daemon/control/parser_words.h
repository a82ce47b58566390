#pragma once

#include <string>

namespace norvad {

// The parser of options writes its error texts by replacing marks such as %value%, and would never end with a word that
// holds such a mark itself. So it gets to see another character, which takes no part in options and their values
// either.

// The word as the parser may see it.
std::string HidePercents(std::string word);

// What the parser made of such words, in their own spelling again.
std::string ShowPercents(std::string text);

}  // namespace norvad
