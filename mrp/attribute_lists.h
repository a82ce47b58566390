#pragma once

#include <array>
#include <boost/intrusive/list.hpp>
#include <boost/intrusive/set.hpp>
#include <cstdint>
#include <memory>

#include "mrp/mrp_attribute.h"
#include "mrp/walkable_list.h"

namespace norvad {

// The attributes of one port, owned here: all of them and those of each type in the order in which they came, and,
// so that neither a transmit opportunity nor a leave-timer tick walks the quiet ones, those that have something to
// send and those that wait for a tick, in the same order. Nothing here allocates.
class AttributeLists {
public:
    static constexpr uint8_t typeCount = 5;  // types are numbered from 1

    AttributeLists() = default;
    AttributeLists(const AttributeLists&) = delete;
    AttributeLists& operator=(const AttributeLists&) = delete;
    ~AttributeLists();

    // Throws std::out_of_range, and takes nothing, when the type is none of 1..5.
    MRPAttribute& Append(std::unique_ptr<MRPAttribute> attribute);
    void Remove(MRPAttribute& attribute);  // and frees it

    // Puts the attribute into or takes it out of the pending and the ticking ones after a change of its state.
    void Refresh(MRPAttribute& attribute);

    bool HasPending() const;

    // Whether an attribute with this place in the order waits for a tick.
    bool IsTicking(uint64_t order) const { return ticking.find(order) != ticking.end(); }

    // In list order; visit may append attributes and remove any, the visited one too.
    template <typename Visitor>
    void ForEach(Visitor visit) {
        all.ForEach(visit);
    }
    template <typename Visitor>
    void ForEach(uint8_t type, Visitor visit) {
        OfType(type).all.ForEach(visit);
    }
    template <typename Visitor>
    void ForEachTicking(Visitor visit) {
        for (auto next = ticking.begin(); next != ticking.end();) {
            const uint64_t order = next->order;
            visit(*next);
            next = ticking.upper_bound(order);
        }
    }

    // In list order, until visit returns false; visit may change the state of the visited attribute only.
    template <typename Visitor>
    void ForEachPending(uint8_t type, Visitor visit) {
        auto& pending = OfType(type).pending;
        for (auto next = pending.begin(); next != pending.end();) {
            MRPAttribute& attribute = *next;
            ++next;
            if (!visit(attribute)) return;
        }
    }

private:
    template <typename Hook, Hook MRPAttribute::*member>
    using ByHook = boost::intrusive::member_hook<MRPAttribute, Hook, member>;
    using SizeIsNotKept = boost::intrusive::constant_time_size<false>;
    struct Order {
        using type = uint64_t;
        type operator()(const MRPAttribute& attribute) const { return attribute.order; }
    };
    using InOrder = boost::intrusive::key_of_value<Order>;

    template <MRPAttribute::ListHook MRPAttribute::*hook>
    using List = boost::intrusive::list<MRPAttribute, ByHook<MRPAttribute::ListHook, hook>, SizeIsNotKept>;
    template <MRPAttribute::SetHook MRPAttribute::*hook>
    using Set = boost::intrusive::set<MRPAttribute, ByHook<MRPAttribute::SetHook, hook>, InOrder, SizeIsNotKept>;
    using PortList = List<&MRPAttribute::portHook>;
    using TypeList = List<&MRPAttribute::typeHook>;
    using PendingSet = Set<&MRPAttribute::pendingHook>;
    using TickingSet = Set<&MRPAttribute::tickHook>;

    struct TypeLists {
        WalkableList<TypeList> all;
        PendingSet pending;
    };

    TypeLists& OfType(uint8_t type) { return types.at(static_cast<size_t>(type) - 1); }

    WalkableList<PortList> all;
    std::array<TypeLists, typeCount> types;
    TickingSet ticking;
    uint64_t nextOrder = 0;
};

// Neither declared nor registered: the attribute can go.
bool IsForgotten(const MRPAttributeState& state);

}  // namespace norvad
