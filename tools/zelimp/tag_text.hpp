// Directory entries in words.
#pragma once

#include <ZelIMP.hpp>
#include <nlohmann/json.hpp>

namespace tool {

const char* tag_name(const zelimp::Tag& tag);   // empty when it is not a common one
const char* type_name(const zelimp::Tag& tag);  // "?" when the type is unknown

// A text, one number, a list of several, or null where the type is unknown. Fractions are texts: "200/1". Cut after
// 4096 values: tags may all point to the same bytes, so that a small file could tell of any number of them.
nlohmann::ordered_json tag_value(const zelimp::Tag& tag);

}  // namespace tool
