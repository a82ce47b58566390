#include "mrp/attribute_lists.h"

#include <algorithm>
#include <utility>

#include "mrp/applicant.h"

namespace norvad {

bool IsForgotten(const MRPAttributeState& state) {
    if (state.registrar != RegistrarState::MT) return false;
    using enum ApplicantState;
    return state.applicant == VO || state.applicant == AO || state.applicant == QO;
}

MRPAttribute& AttributeLists::Append(std::unique_ptr<MRPAttribute> attribute) {
    MRPAttribute& appended = *attribute;
    OfType(appended.type);  // throws before anything is taken
    PutLast(std::move(attribute));
    ++count;
    return appended;
}

void AttributeLists::Remove(MRPAttribute& attribute) {
    const uint32_t place = attribute.place;
    TypeSets& type = OfType(attribute.type);
    for (PlaceSet* set : {&sets.all, &sets.ticking, &type.all, &type.pending}) set->Set(place, false);
    if (attribute.madeByReception) --received.at(static_cast<size_t>(attribute.type) - 1);
    row[place].reset();
    --count;
    CloseGaps();
}

void AttributeLists::CountAsReceived(MRPAttribute& attribute) {
    attribute.madeByReception = true;
    ++received.at(static_cast<size_t>(attribute.type) - 1);
}

void AttributeLists::Refresh(MRPAttribute& attribute) {
    const MRPAttributeState& state = attribute.state;
    OfType(attribute.type).pending.Set(attribute.place, HasSomethingToSend(state.applicant));
    sets.ticking.Set(attribute.place, state.leaveTimer > 0 || IsForgotten(state));
}

bool AttributeLists::HasPending() const {
    return std::any_of(sets.types.begin(), sets.types.end(),
                       [](const TypeSets& type) { return !type.pending.IsEmpty(); });
}

// A row that grows by half has room for half as many again at most; by doubling it would cost a record 16 bytes.
void AttributeLists::PutLast(std::unique_ptr<MRPAttribute> attribute) {
    constexpr size_t firstPlaces = 16;
    if (row.size() == row.capacity()) row.reserve(row.size() + row.size() / 2 + firstPlaces);
    MRPAttribute& last = *attribute;
    last.place = static_cast<uint32_t>(row.size());
    row.push_back(std::move(attribute));
    sets.all.Set(last.place, true);
    OfType(last.type).all.Set(last.place, true);
    Refresh(last);
}

// When they are more than half of a row of some length, so that a removal costs no more than a few records' moves. Row
// and sets are made anew and so give back what they do not need.
void AttributeLists::CloseGaps() {
    constexpr size_t shortRow = 64;
    if (walks > 0 || row.size() < shortRow || row.size() <= 2 * count) return;
    Row old = std::exchange(row, {});
    sets = {};
    row.reserve(count);
    for (auto& attribute : old) {
        if (attribute) PutLast(std::move(attribute));
    }
}

}  // namespace norvad
