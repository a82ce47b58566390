#pragma once

#include <cstdint>
#include <initializer_list>
#include <iosfwd>
#include <string>

#include "mrp/mrp.h"

namespace norvad {

// The machines' states in words: "Applicant VO Registrar MT".
std::string StateText(const MRPAttribute& attribute);

// The attribute and its machines' states, a line of a listing.
std::string ListingLine(const MRPAttribute& attribute);

// Writes port by port the lines of the attributes of each of these types, in list order.
void ListAttributes(MRP& mrp, std::initializer_list<uint8_t> types, std::ostream& answer);

}  // namespace norvad
