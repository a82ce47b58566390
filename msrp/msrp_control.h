#pragma once

#include <cstdint>
#include <iosfwd>

#include "msrp/msrpdb.h"
#include "switch/control_options.h"

namespace norvad {

// The control options of MSRP: lists the records, and makes one leave.
class MSRPControl {
public:
    explicit MSRPControl(MSRPDB& database) : database(database) {}

    static void AddOptions(boost::program_options::options_description& options);
    void HandleOptions(const boost::program_options::variables_map& values, std::ostream& answer);

private:
    // The type's records over all ports are numbered from 0.
    void LeaveEntry(uint8_t type, int number, const char* notFound, std::ostream& answer);
    MRPAttribute* Entry(uint8_t type, int number);

    MSRPDB& database;
};

}  // namespace norvad
