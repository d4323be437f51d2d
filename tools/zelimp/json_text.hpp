// JSON as the tool prints it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace tool {

// Bytes that are no UTF-8 are replaced; nothing that a terminal would act on comes through.
inline std::string printable(const nlohmann::ordered_json& value, int indent = -1) {
  return value.dump(indent, ' ', true, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace tool
