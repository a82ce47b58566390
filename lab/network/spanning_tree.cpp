#include "lab/network/spanning_tree.h"

#include <deque>

namespace norvad::network {

// From the lowest bridge that was not reached yet to its neighbours, then to theirs, in the order of the links.
std::vector<bool> LinksOfTree(size_t bridges, const std::vector<TreeLink>& links) {
    std::vector<std::vector<size_t>> linksOf(bridges);
    for (size_t index = 0; index < links.size(); ++index) {
        if (!links[index].isUp) continue;
        linksOf[links[index].a].push_back(index);
        linksOf[links[index].b].push_back(index);
    }
    std::vector<bool> isInTree(links.size());
    std::vector<bool> isReached(bridges);
    for (size_t root = 0; root < bridges; ++root) {
        if (isReached[root]) continue;
        isReached[root] = true;
        for (std::deque<size_t> ahead{root}; !ahead.empty(); ahead.pop_front()) {
            for (const size_t index : linksOf[ahead.front()]) {
                const size_t other = links[index].a == ahead.front() ? links[index].b : links[index].a;
                if (isReached[other]) continue;
                isReached[other] = true;
                isInTree[index] = true;
                ahead.push_back(other);
            }
        }
    }
    return isInTree;
}

}  // namespace norvad::network
