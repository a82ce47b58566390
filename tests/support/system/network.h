#pragma once

#include <string>
#include <vector>

namespace norvad::test {

// Cables of this world: each is a pair of interfaces, both up.
void LayCable(const std::string& oneEnd, const std::string& otherEnd);

// Sets an interface up or down; the other end of its cable loses or gains its carrier with it.
void SetInterfaceUp(const std::string& interface, bool up);

bool InterfaceExists(const std::string& interface);

// The names of all interfaces but the loopback.
std::vector<std::string> Interfaces();

// "02:00:00:00:00:01" as the kernel shows it.
std::string AddressOf(const std::string& interface);

}  // namespace norvad::test
