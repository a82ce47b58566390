#pragma once

#include <iosfwd>

#include "mvrp/mvrpdb.h"
#include "switch/control_options.h"

namespace norvad {

// The control option of MVRP: lists the VLANs.
class MVRPControl {
public:
    explicit MVRPControl(MVRPDB& database) : database(database) {}

    static void AddOptions(boost::program_options::options_description& options);
    void HandleOptions(const boost::program_options::variables_map& values, std::ostream& answer);

private:
    MVRPDB& database;
};

}  // namespace norvad
