#include "mrp/attribute_lists.h"

#include <algorithm>

#include "mrp/applicant.h"

namespace norvad {

namespace {

// Links or unlinks one element; at the end first, because bulk changes come in list order.
template <typename Set, typename Hook>
void SetMembership(Set& set, const Hook& hook, MRPAttribute& attribute, bool belongs) {
    if (hook.is_linked() == belongs) return;
    if (belongs) {
        set.insert(set.end(), attribute);
    } else {
        set.erase(set.iterator_to(attribute));
    }
}

}  // namespace

bool IsForgotten(const MRPAttributeState& state) {
    if (state.registrar != RegistrarState::MT) return false;
    using enum ApplicantState;
    return state.applicant == VO || state.applicant == AO || state.applicant == QO;
}

AttributeLists::~AttributeLists() {
    ticking.clear();
    for (TypeLists& type : types) {
        type.pending.clear();
        type.all.Clear([](MRPAttribute*) {});
    }
    all.Clear(std::default_delete<MRPAttribute>());
}

MRPAttribute& AttributeLists::Append(std::unique_ptr<MRPAttribute> attribute) {
    TypeLists& type = OfType(attribute->type);
    MRPAttribute& inserted = *attribute.release();
    inserted.order = nextOrder++;
    all.Append(inserted);
    type.all.Append(inserted);
    Refresh(inserted);
    return inserted;
}

void AttributeLists::Remove(MRPAttribute& attribute) {
    TypeLists& type = OfType(attribute.type);
    SetMembership(type.pending, attribute.pendingHook, attribute, false);
    SetMembership(ticking, attribute.tickHook, attribute, false);
    type.all.Remove(attribute);
    all.Remove(attribute);
    delete &attribute;
}

void AttributeLists::Refresh(MRPAttribute& attribute) {
    const MRPAttributeState& state = attribute.state;
    SetMembership(OfType(attribute.type).pending, attribute.pendingHook, attribute,
                  HasSomethingToSend(state.applicant));
    SetMembership(ticking, attribute.tickHook, attribute, state.leaveTimer > 0 || IsForgotten(state));
}

bool AttributeLists::HasPending() const {
    return std::any_of(types.begin(), types.end(), [](const TypeLists& type) { return !type.pending.empty(); });
}

}  // namespace norvad
