#include "holes_report.hpp"

#include <ZelIMP.h>
#include <nlohmann/json.hpp>

#include "json_text.hpp"

namespace tool {
namespace {

using nlohmann::ordered_json;
using zelimp::HoleReason;

constexpr std::size_t kColumns = 5;
constexpr std::size_t kCells = 35;

struct ReasonNames {
  const char* key;
  const char* sentence;
};

ReasonNames names_of(HoleReason reason) {
  switch (reason) {
    case HoleReason::none:
      break;
    case HoleReason::no_image:
      return {"no_image", "no picture was given"};
    case HoleReason::no_ink:
      return {"no_ink", "nothing in the zone is dark"};
    case HoleReason::no_line_height:
      return {"no_line_height", "nothing in the zone has the height of a line"};
    case HoleReason::no_box:
      return {"no_box", "there is a line, but no character on it"};
    case HoleReason::unmatched:
      return {"unmatched", "some characters are like no digit"};
  }
  return {nullptr, ""};
}

std::vector<std::size_t> cells_unlike(const zelimp::HoleCharacter& character, char digit) {
  const unsigned char* glyph = MicroholesFont + static_cast<std::size_t>(digit - '0') * kCells;
  std::vector<std::size_t> cells;
  for (std::size_t k = 0; k < kCells; ++k) {
    if ((glyph[k] != 0) != (character.pattern[k] != 0)) cells.push_back(k);
  }
  return cells;
}

ordered_json box_facts(const zelimp::Box& box) {
  return {{"left", box.left}, {"top", box.top}, {"width", box.width}, {"height", box.height}};
}

ordered_json character_facts(const zelimp::HoleCharacter& character) {
  ordered_json rows = ordered_json::array();
  for (std::size_t k = 0; k < kCells; k += kColumns) {
    std::string row;
    for (std::size_t c = 0; c < kColumns; ++c) row.push_back(character.pattern[k + c] != 0 ? '#' : '.');
    rows.push_back(row);
  }
  ordered_json differing = ordered_json::array();
  for (const std::size_t cell : differing_cells(character)) {
    differing.push_back({{"row", cell / kColumns}, {"column", cell % kColumns}});
  }
  return {{"character", std::string(1, character.character)},
          {"box", box_facts(character.box)},
          {"pattern", rows},
          {"nearest", std::string(1, nearest_digit(character))},
          {"differing_cells", differing}};
}

ordered_json face_facts(const char* name, const std::string& input, const zelimp::HoleFace& face) {
  ordered_json characters = ordered_json::array();
  for (const zelimp::HoleCharacter& character : face.characters) characters.push_back(character_facts(character));
  const char* reason = names_of(face.reason).key;
  const bool has_line = face.line.width > 0 && face.line.height > 0;
  return {{"face", name},
          {"input", input},
          {"text", face.read ? ordered_json(face.text) : ordered_json()},
          {"reason", reason != nullptr ? ordered_json(reason) : ordered_json()},
          {"floor_threshold", face.floor_threshold},
          {"zone", box_facts(face.zone)},
          {"line", has_line ? box_facts(face.line) : ordered_json()},
          {"characters", characters}};
}

std::string face_text(const char* name, const zelimp::HoleFace& face) {
  std::string text = name + std::string(": ") + (face.read ? face.text : reason_sentence(face)) + "\n";
  for (std::size_t i = 0; i < face.characters.size(); ++i) {
    const zelimp::HoleCharacter& character = face.characters[i];
    if (character.character != '?') continue;
    text += "  character " + std::to_string(i + 1) + ": nearest to " + nearest_digit(character) + ", " +
            std::to_string(differing_cells(character).size()) + " cells differ\n";
  }
  return text;
}

}  // namespace

std::optional<std::string> common_text(const HolesRead& read) {
  const auto& [status, text, front, rear] = read.holes;
  if (!front.read || (!read.rear.empty() && (!rear.read || rear.text != front.text))) return std::nullopt;
  return front.text;
}

char nearest_digit(const zelimp::HoleCharacter& character) {
  if (character.character != '?') return character.character;
  char nearest = '0';
  for (char digit = '1'; digit <= '9'; ++digit) {
    if (cells_unlike(character, digit).size() < cells_unlike(character, nearest).size()) nearest = digit;
  }
  return nearest;
}

std::vector<std::size_t> differing_cells(const zelimp::HoleCharacter& character) {
  return cells_unlike(character, nearest_digit(character));
}

std::string reason_sentence(const zelimp::HoleFace& face) {
  return (face.read ? "" : "not read, ") + std::string(names_of(face.reason).sentence);
}

std::string as_json(const HolesRead& read) {
  const std::optional<std::string> text = common_text(read);
  ordered_json faces = {face_facts("front", read.front, read.holes.front)};
  if (!read.rear.empty()) faces.push_back(face_facts("rear", read.rear, read.holes.rear));
  const ordered_json all = {{"text", text ? ordered_json(*text) : ordered_json()},
                            {"status", read.holes.status},
                            {"message", read.holes.text},
                            {"zone",
                             {{"left", read.zone.left},
                              {"bottom", read.zone.bottom},
                              {"width", read.zone.width},
                              {"height", read.zone.height}}},
                            {"faces", faces}};
  return printable(all, 2) + "\n";
}

std::string as_text(const HolesRead& read) {
  const std::string text = "text: " + common_text(read).value_or("none that all faces give") + "\n";
  return text + face_text("front", read.holes.front) + (read.rear.empty() ? "" : face_text("rear", read.holes.rear));
}

}  // namespace tool
