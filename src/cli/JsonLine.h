// JsonLine: one object of what --json prints.
//
// Threads: a pure function.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace siftwell {

// In one line without any control character, so that it may go to a terminal too. The texts in it
// are UTF-8.
std::string jsonLine(const nlohmann::ordered_json& object);

}  // namespace siftwell
