#pragma once

#include "lab/network/program/file_value.h"
#include "lab/network/program/names.h"
#include "lab/network/program/scenario.h"

namespace norvad::network {

// The parts of a file, each read by one function.

inline constexpr int64_t longestRunNs = 7 * 86'400'000'000'000;

// One item below "bridges": a bridge, or several in a row, a ring, a star or a tree and the links between them.
void ReadBridges(const FileValue& value, uint64_t seed, Names& names);

// What a map says of a cable.
CableSettings ReadCable(FileMap& map);

// Of whatever sends frames: its rate in bits per second, and how many find room before it.
uint64_t ReadRate(const FileValue& value);
size_t ReadQueue(const FileValue& value);

void ReadLink(const FileValue& value, Names& names);
void ReadStation(const FileValue& value, Names& names);
EventPlan ReadEvent(const FileValue& value, const Names& names);
Expectation ReadExpectation(const FileValue& value, const Names& names);

}  // namespace norvad::network
