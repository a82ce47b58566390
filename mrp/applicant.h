#pragma once

#include "mrp/mrp_attribute.h"

namespace norvad {

// The Applicant, IEEE 802.1Q, 10.7.7, as this bridge runs it. Runs one event, stores the action to transmit, clears
// the transmit mark and returns the new state, which the caller stores: attribute.registrar must still be the state
// from before the event.
ApplicantState StepApplicant(MRPAttributeState& attribute, Event event);

// Whether the state has something to send at the next transmit opportunity.
constexpr bool HasSomethingToSend(ApplicantState state) {
    switch (state) {
        using enum ApplicantState;
        case VP:
        case VN:
        case AN:
        case AA:
        case LA:
        case AP:
        case LO:
            return true;
        case VO:
        case QA:
        case AO:
        case QO:
        case QP:
            return false;
    }
    return false;
}

}  // namespace norvad
