#pragma once

#include <boost/program_options.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "switch/proto_handler.h"

namespace norvad::test {

// What a handler answers to the words of an operator's command, which may be its own options or --other, another
// handler's; anything else throws.
inline std::string AnswerOf(ProtoHandler& handler, const std::vector<std::string>& words) {
    namespace po = boost::program_options;
    po::options_description options;
    options.add_options()("other", "another handler's");
    handler.AddControlOptions(options);
    po::variables_map values;
    po::store(po::command_line_parser(words).options(options).run(), values);
    std::ostringstream answer;
    handler.HandleControlOptions(values, answer);
    return answer.str();
}

}  // namespace norvad::test
