#include "mrp/mrp_attribute.h"

namespace norvad {

std::string StateText(const MRPAttribute& attribute) {
    const MRPAttributeState& state = attribute.state;
    return std::string("Applicant ") + Name(state.applicant) + " Registrar " + Name(state.registrar);
}

}  // namespace norvad
