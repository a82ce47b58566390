#include "tests/ptp/ptp_fixture.h"

#include <boost/program_options.hpp>
#include <sstream>

namespace norvad::test {

std::string PtpFixture::Control(const std::vector<std::string>& arguments) {
    namespace po = boost::program_options;
    po::options_description options;
    handler->AddControlOptions(options);
    po::variables_map values;
    po::store(po::command_line_parser(arguments).options(options).run(), values);
    std::ostringstream answer;
    handler->HandleControlOptions(values, answer);
    return answer.str();
}

}  // namespace norvad::test
