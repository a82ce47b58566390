#pragma once

namespace norvad {

// An intrusive list whose walks survive the removal of any element and may be nested. Elements appended during a walk
// are visited too.
template <typename List>
class WalkableList {
public:
    using Element = typename List::value_type;

    WalkableList() = default;
    WalkableList(const WalkableList&) = delete;
    WalkableList& operator=(const WalkableList&) = delete;

    void Append(Element& element) {
        elements.push_back(element);
        for (Walk* walk = walks; walk != nullptr; walk = walk->outer) {
            if (walk->next == elements.end()) walk->next = elements.iterator_to(element);
        }
    }

    void Remove(Element& element) {
        const auto position = elements.iterator_to(element);
        for (Walk* walk = walks; walk != nullptr; walk = walk->outer) {
            if (walk->next == position) ++walk->next;
        }
        elements.erase(position);
    }

    template <typename Visitor>
    void ForEach(Visitor visit) {
        Walk walk(*this);
        while (walk.next != elements.end()) {
            Element& element = *walk.next;
            ++walk.next;
            visit(element);
        }
    }

    template <typename Disposer>
    void Clear(Disposer dispose) {
        elements.clear_and_dispose(dispose);
    }

private:
    // The place of one walk under way, known to the list so that a removal can move it on.
    struct Walk {
        explicit Walk(WalkableList& list) : list(list), next(list.elements.begin()), outer(list.walks) {
            list.walks = this;
        }
        ~Walk() { list.walks = outer; }
        Walk(const Walk&) = delete;
        Walk& operator=(const Walk&) = delete;

        WalkableList& list;
        typename List::iterator next;
        Walk* outer;
    };

    List elements;
    Walk* walks = nullptr;  // the innermost walk under way
};

}  // namespace norvad
