// What the library logs, and with it whatever else a test wants in one order with the messages.
#pragma once

#include <string>
#include <vector>

namespace skew::test {

// Everything noted since the last clear(), oldest first. A message of the library is noted as
// "log PRIORITY TAG: TEXT", with the values filled in.
std::vector<std::string>& events();

}  // namespace skew::test
