#pragma once

#include <cstdint>

#include "mrp/mrp_attribute.h"
#include "mrp/propagation.h"

namespace norvad {

// The log line of a change to the sources of a record, at the given level.
void LogPropagation(int32_t level, const MRPAttribute& record, uint8_t source, SourceChange change);

}  // namespace norvad
