// What was read of micro-holes, for programs and for people.
#pragma once

#include <ZelIMP/holes.hpp>
#include <optional>
#include <string>
#include <vector>

namespace tool {

struct HolesRead {
  std::string front, rear;  // the files as they were named on the command line; no rear: empty
  zelimp::HoleZone zone;
  zelimp::MicroHoles holes;
};

// The text, when every face that was given gives the same.
std::optional<std::string> common_text(const HolesRead& read);

// The digit of which a character's pattern was told, or the one it comes nearest to.
char nearest_digit(const zelimp::HoleCharacter& character);
// In which cells it differs from that digit.
std::vector<std::size_t> differing_cells(const zelimp::HoleCharacter& character);

// Why a face was not read, or not all of it.
std::string reason_sentence(const zelimp::HoleFace& face);

std::string as_json(const HolesRead& read);
std::string as_text(const HolesRead& read);

}  // namespace tool
