#include "msrp/propagation_log.h"

#include "base/log.h"
#include "mrp/listing.h"

namespace norvad {

void PropagationLog::operator()(const MRPAttribute& record, uint8_t source, SourceChange change) const {
    if (!IsLogged(LogCategory::MSRP, level)) return;
    const std::string text = record.Text();
    const std::string state = StateText(record);
    switch (change) {
        case SourceChange::Created:
            log(LogCategory::MSRP, level, "[SW-MSRP] Port(%d) Propagate from (%d):\n     %s %s\n", record.port, source,
                text.c_str(), state.c_str());
            return;
        case SourceChange::Added:
            log(LogCategory::MSRP, level, "[SW-MSRP] Port(%d) Propagate from (%d):\n     %s %s %d added\n", record.port,
                source, text.c_str(), state.c_str(), source);
            return;
        case SourceChange::Removed:
            log(LogCategory::MSRP, level, "[SW-MSRP] Port(%d) Propagate LV from (%d):\n     %s %s %d removed\n",
                record.port, source, text.c_str(), state.c_str(), source);
            return;
    }
}

}  // namespace norvad
