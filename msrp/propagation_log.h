#pragma once

#include <cstdint>

#include "mrp/mrp_attribute.h"
#include "mrp/propagation.h"

namespace norvad {

// Writes the log lines of changes to the sources of records, at one level.
struct PropagationLog {
    int32_t level;

    void operator()(const MRPAttribute& record, uint8_t source, SourceChange change) const;
};

}  // namespace norvad
