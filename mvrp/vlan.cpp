#include "mvrp/vlan.h"

namespace norvad {

std::string Vlan::Text() const {
    return "[MVRP] Vlan:" + std::to_string(Vid());
}

}  // namespace norvad
