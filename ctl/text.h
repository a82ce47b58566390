#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "ctl/model.h"

namespace norvad::ctl {

std::string IdText(Id id);                           // "02:00:00:00:00:a0:00:01"
std::string AddressText(uint64_t address);           // "91:e0:f0:00:01:00"
std::string ClockIdText(Id id);                      // "0x02544efffe440005", as the daemon writes clocks
std::string Name(Declaration declaration);           // "ready failed"
std::string Name(Registrar registrar);               // "IN"
std::string MachinesText(const Machines& machines);  // "QA/IN"
std::string ClassText(unsigned srClass);             // "A", "B", or the number of a class without a name
std::string PpmText(double ratio);                   // "+1.500 ppm", of a ratio less 1
std::string StreamCountText(size_t count);           // "1 stream", "2 streams"

// A StreamID as a user may write it: 16 digits, colons and hyphens between them as he likes.
std::optional<Id> ReadId(std::string_view text);

// A number of digits and nothing else, within those bounds: a sign would become a huge number.
std::optional<uint64_t> ReadNumber(std::string_view text, uint64_t smallest, uint64_t largest);

// The text without what would command a terminal: anything but printable ASCII becomes '?'.
std::string Printable(std::string_view text);

}  // namespace norvad::ctl
