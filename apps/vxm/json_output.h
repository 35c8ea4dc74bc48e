// JSON on standard output.
#pragma once

#include <iostream>
#include <nlohmann/json.hpp>

#include "left_out.h"

using Json = nlohmann::ordered_json;

// File names that are no UTF-8 come out with replacement characters.
inline void PrintJson(const Json& json) {
  std::cout << json.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
}

inline Json LeftOutJson(const std::vector<LeftOut>& leftOut) {
  Json list = Json::array();
  for (const LeftOut& each : leftOut)
    list.push_back({{"name", each.name}, {"reason", each.reason}});
  return list;
}
