#pragma once

#include <string>

namespace norvad::test {

// A command record written in hex, as the driver gets it: zeros behind it fill the block.
inline std::string Block(std::string record) {
    while (record.size() < 32 * 3 - 1) record += " 00";
    return record;
}

}  // namespace norvad::test
