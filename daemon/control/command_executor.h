#pragma once

#include <iosfwd>
#include <string>

namespace norvad {

class Switch;

// Runs one command line of an operator on the switch and its handlers and writes the answer. What is wrong with
// the command becomes the answer: a std::exception ends it with its text.
void ExecuteCommand(Switch& bridge, const std::string& text, std::ostream& answer);

}  // namespace norvad
