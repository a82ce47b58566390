#pragma once

#include <cstdint>

#include "mrp/mrp.h"

namespace norvad {

// A value registered on one port is declared on others. Each record there keeps the set of ports it is declared for,
// its sources, and stays declared until the last of them has left.

enum class SourceChange : uint8_t { Created, Added, Removed };

// Declares a value on one port on behalf of another. present is the value's record on the declaring port, or null; then
// create() inserts one and returns it. event is NEW or JOIN. report(record, source, change) is called once, in the
// order in which the log shows it: after the event for a record that was created, before it for one that was there.
// Returns the record.
template <typename Record, typename Create, typename Report>
Record& DeclareFrom(MRP& mrp, Record* present, uint8_t source, Event event, Create create, Report report) {
    if (!present) {
        Record& created = create();
        created.sources.Add(source);
        mrp.RunAttributeStateMachines(&created, created.port, event);
        report(created, source, SourceChange::Created);
        return created;
    }
    present->sources.Add(source);
    report(*present, source, SourceChange::Added);
    mrp.RunAttributeStateMachines(present, present->port, event);
    return *present;
}

// Takes a source off the record (or null) and feeds LV when it was the last. A port that is no source changes nothing
// and reports nothing. True when the value is no longer declared because of this.
template <typename Record, typename Report>
bool WithdrawFrom(MRP& mrp, Record* present, uint8_t source, Report report) {
    if (!present || !present->sources.Contains(source)) return false;
    present->sources.Remove(source);
    report(*present, source, SourceChange::Removed);
    if (present->IsPropagated()) return false;
    mrp.RunAttributeStateMachines(present, present->port, Event::LV);
    return true;
}

}  // namespace norvad
