#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "mrp/mrp_attribute.h"
#include "mrp/place_set.h"

namespace norvad {

// The attributes of one port, owned here, in one row in the order in which they came. Sets of places in the row tell
// all of them, those of each type and, so that neither a transmit opportunity nor a leave-timer tick walks the quiet
// ones, those that have something to send and those that wait for a tick. A place is not used twice, so a walk needs
// no care for what is appended or removed under it; the gaps close when nobody walks.
class AttributeLists {
public:
    static constexpr uint8_t typeCount = 5;  // types are numbered from 1

    AttributeLists() = default;
    AttributeLists(const AttributeLists&) = delete;
    AttributeLists& operator=(const AttributeLists&) = delete;

    // Throws std::out_of_range, and takes nothing, when the type is none of 1..5.
    MRPAttribute& Append(std::unique_ptr<MRPAttribute> attribute);
    void Remove(MRPAttribute& attribute);  // and frees it

    // Puts the attribute into or takes it out of the pending and the ticking ones after a change of its state.
    void Refresh(MRPAttribute& attribute);

    bool HasPending() const;

    // Counts the attribute until it is removed.
    void CountAsReceived(MRPAttribute& attribute);
    uint32_t Received(uint8_t type) const { return received.at(static_cast<size_t>(type) - 1); }

    // Whether an attribute with this place waits for a tick; places stand while there is a walk.
    bool IsTicking(uint32_t place) const { return sets.ticking.Contains(place); }

    // In list order; visit may append attributes and remove any, the visited one too.
    template <typename Visitor>
    void ForEach(Visitor visit) {
        WalkOver(sets.all, visit);
    }
    template <typename Visitor>
    void ForEach(uint8_t type, Visitor visit) {
        WalkOver(OfType(type).all, visit);
    }
    template <typename Visitor>
    void ForEachTicking(Visitor visit) {
        WalkOver(sets.ticking, visit);
    }

    // In list order, until visit returns false; visit may change the state of the visited attribute only.
    template <typename Visitor>
    void ForEachPending(uint8_t type, Visitor visit) {
        const PlaceSet& pending = OfType(type).pending;
        for (uint32_t place = pending.Next(0); place != PlaceSet::none; place = pending.Next(place + 1)) {
            if (!visit(*row[place])) return;
        }
    }

private:
    struct TypeSets {
        PlaceSet all;
        PlaceSet pending;
    };
    struct Sets {
        PlaceSet all;
        PlaceSet ticking;
        std::array<TypeSets, typeCount> types;
    };

    // Keeps the places as they are for as long as it lives.
    class Walk {
    public:
        explicit Walk(AttributeLists& lists) : lists(lists) { ++lists.walks; }
        ~Walk() {
            --lists.walks;
            lists.CloseGaps();
        }
        Walk(const Walk&) = delete;
        Walk& operator=(const Walk&) = delete;

    private:
        AttributeLists& lists;
    };

    template <typename Visitor>
    void WalkOver(const PlaceSet& places, Visitor& visit) {
        if (places.IsEmpty()) return;
        const Walk walk(*this);
        for (uint32_t place = places.Next(0); place != PlaceSet::none; place = places.Next(place + 1)) {
            visit(*row[place]);
        }
    }

    TypeSets& OfType(uint8_t type) { return sets.types.at(static_cast<size_t>(type) - 1); }
    void PutLast(std::unique_ptr<MRPAttribute> attribute);
    void CloseGaps();

    using Row = std::vector<std::unique_ptr<MRPAttribute>>;

    Row row;  // by place; null where an attribute was removed
    Sets sets;
    size_t count = 0;                            // of attributes
    std::array<uint32_t, typeCount> received{};  // those made by reception, by type
    uint32_t walks = 0;                          // under way
};

// Neither declared nor registered: the attribute can go.
bool IsForgotten(const MRPAttributeState& state);

}  // namespace norvad
