// JSON on standard output.
#pragma once

#include <iostream>
#include <nlohmann/json.hpp>

using Json = nlohmann::ordered_json;

// File names that are no UTF-8 come out with replacement characters.
inline void PrintJson(const Json& json) {
  std::cout << json.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
}
