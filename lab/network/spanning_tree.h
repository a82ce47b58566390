#pragma once

#include <cstddef>
#include <vector>

namespace norvad::network {

// A link between two bridges, by their numbers.
struct TreeLink {
    size_t a, b;
    bool isUp;
};

// Stands in for a spanning tree protocol, which norvad3 leaves to others: an addition of the lab. Which of the links
// that are up carry data, so that from each bridge one way leads to every other that can be reached: the shortest to
// the lowest number. Of the rest the end at the higher number is to block.
std::vector<bool> LinksOfTree(size_t bridges, const std::vector<TreeLink>& links);

}  // namespace norvad::network
