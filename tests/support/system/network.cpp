#include "tests/support/system/network.h"

#include <net/if.h>

#include <memory>

#include "tests/support/system/process.h"

namespace norvad::test {

void LayCable(const std::string& oneEnd, const std::string& otherEnd) {
    RunCommand({"ip", "link", "add", "name", oneEnd, "type", "veth", "peer", "name", otherEnd});
    SetInterfaceUp(oneEnd, true);
    SetInterfaceUp(otherEnd, true);
}

void SetInterfaceUp(const std::string& interface, bool up) {
    RunCommand({"ip", "link", "set", "dev", interface, up ? "up" : "down"});
}

bool InterfaceExists(const std::string& interface) {
    return if_nametoindex(interface.c_str()) != 0;
}

std::vector<std::string> Interfaces() {
    std::vector<std::string> names;
    const std::unique_ptr<struct if_nameindex, decltype(&if_freenameindex)> all(if_nameindex(), &if_freenameindex);
    for (const auto* each = all.get(); each && each->if_index != 0; ++each)
        if (std::string(each->if_name) != "lo") names.emplace_back(each->if_name);
    return names;
}

std::string AddressOf(const std::string& interface) {
    // A line of the answer reads "2: eth0@cpu0: <...> ...\    link/ether 02:00:00:00:00:01 brd ...".
    const std::string answer = RunCommand({"ip", "-o", "link", "show", "dev", interface});
    const std::string before = "link/ether ";
    const auto at = answer.find(before);
    return at == std::string::npos ? "" : answer.substr(at + before.size(), 17);
}

}  // namespace norvad::test
