#pragma once

#include <string>
#include <vector>

namespace norvad {

// The parser of options writes its error texts by replacing marks such as %value%, and would never end with a word that
// holds such a mark itself. So it gets to see another character, which takes no part in options and their values and
// stands nowhere in the words.
class ParserWords {
public:
    // Throws what the parser throws when percent signs have to be hidden and the words hold every such character.
    explicit ParserWords(std::vector<std::string> words);

    const std::vector<std::string>& Hidden() const { return words; }  // as the parser may see them

    // What the parser made of them, in their own spelling again.
    std::string Shown(std::string text) const;

private:
    std::vector<std::string> words;
    char standIn = '%';
};

}  // namespace norvad
