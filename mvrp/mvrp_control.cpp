#include "mvrp/mvrp_control.h"

#include <boost/program_options.hpp>

#include "mrp/listing.h"

namespace norvad {

void MVRPControl::AddOptions(boost::program_options::options_description& options) {
    options.add_options()("mvrp,v", "show MVRP entries");
}

void MVRPControl::HandleOptions(const boost::program_options::variables_map& values, std::ostream& answer) {
    if (values.count("mvrp") != 0) ListAttributes(database, {Vlan::attributeType}, answer);
}

}  // namespace norvad
