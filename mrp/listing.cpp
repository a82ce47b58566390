#include "mrp/listing.h"

#include <ostream>

namespace norvad {

std::string StateText(const MRPAttribute& attribute) {
    const MRPAttributeState& state = attribute.state;
    return std::string("Applicant ") + Name(state.applicant) + " Registrar " + Name(state.registrar);
}

std::string ListingLine(const MRPAttribute& attribute) {
    return attribute.Text() + " " + StateText(attribute) + "\n";
}

void ListAttributes(MRP& mrp, std::initializer_list<uint8_t> types, std::ostream& answer) {
    for (uint8_t port = 0; port < mrp.PortCount(); ++port) {
        answer << "Port " << int{port} << "\n";
        for (const uint8_t type : types) {
            mrp.ForEach(port, type, [&](MRPAttribute& attribute) { answer << ListingLine(attribute); });
        }
    }
}

}  // namespace norvad
