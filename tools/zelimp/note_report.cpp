#include "note_report.hpp"

#include <algorithm>
#include <utility>

#include "exit_code.hpp"
#include "json_text.hpp"
#include "note_places.hpp"

namespace tool {
namespace {

using nlohmann::ordered_json;
using zelimp::NoteMatch;

std::string face_of(const NoteMatch& match) { return match.second ? "second" : "first"; }
std::string orientation_of(const NoteMatch& match) { return match.upright ? "upright" : "turned"; }

std::string described(const NoteMatch& match) {
  return "value " + std::to_string(match.value) + ", code " + std::to_string(match.code) + ", score " +
         std::to_string(match.score) + " (" + std::to_string(match.disagreeing) + " pixels disagree, limit " +
         std::to_string(match.limit) + "), " + face_of(match) + " image " + orientation_of(match) + ", at " +
         std::to_string(match.place.left) + ", " + std::to_string(match.place.top) + " of " +
         std::to_string(match.place.width) + " x " + std::to_string(match.place.height);
}

ordered_json facts_of(const NoteMatch& match) {
  return {{"index", match.index},
          {"code", match.code},
          {"value", match.value},
          {"image", face_of(match)},
          {"orientation", orientation_of(match)},
          {"place",
           {{"left", match.place.left},
            {"top", match.place.top},
            {"width", match.place.width},
            {"height", match.place.height}}},
          {"disagreeing", match.disagreeing},
          {"limit", match.limit},
          {"score", match.score}};
}

void put(Picture& picture, const Picture& grey, std::uint32_t left, std::uint32_t top) {
  for (std::uint32_t y = 0; y < grey.height; ++y) {
    for (std::uint32_t x = 0; x < grey.width; ++x) {
      const std::uint8_t level = grey.samples[std::size_t{y} * grey.width + x];
      fill(picture, {left + x, top + y, 1, 1}, {level, level, level});
    }
  }
}

// A face with a line of text below it, which may be wider.
Picture captioned(const Picture& face, const Picture& line) {
  constexpr std::uint32_t kAround = 4;
  const std::uint32_t width = std::max(face.width, line.width + 2 * kAround);
  const std::uint32_t height = face.height + line.height + 2 * kAround;
  if (std::uint64_t{width} * height > zelimp::Limits{}.max_pixels / 2) {
    throw Failure(Exit::over_limit, "the picture is too large for an overlay");
  }
  Picture picture{width, height, 3, std::vector<std::uint8_t>(std::size_t{width} * height * 3, 255)};
  put(picture, face, 0, 0);
  put(picture, line, kAround, face.height + kAround);
  return picture;
}

void draw_regions(Picture& picture, const Picture& face, const NoteRead& read) {
  constexpr Colour kRegion = {40, 90, 220}, kAccepted = {0, 170, 60}, kRefused = {240, 140, 0};
  const NoteMatch* const match = read.note.matches.empty() ? nullptr : &read.note.matches.front();
  for (std::size_t of = 0; of < read.locations.size(); ++of) {
    if (!read.locations[of].enabled) continue;
    const auto region = region_on(read.locations[of], face.width, face.height);
    const bool wins = match != nullptr && (match->code & 15) == of;
    if (region) outline(picture, *region, wins ? 3 : 1, kRegion);
  }
  if (match != nullptr) outline(picture, match->place, 2, read.note.value > 0 ? kAccepted : kRefused);
}

}  // namespace

std::string as_text(const NoteRead& read) {
  constexpr std::size_t kMostRunnersUp = 5;
  const auto& [value, matches] = read.note;
  std::string text = "value: " + (value == 0 ? std::string("none") : std::to_string(value)) + "\n";
  if (matches.empty()) return text + "nothing compared: no template of an enabled class that fits into its region\n";
  const NoteMatch& best = matches.front();
  if (value > 0) text += "image: " + face_of(best) + ", " + orientation_of(best) + "\n";
  text += (value > 0 ? "template: " : "nearest: ") + described(best) + "\n";
  for (std::size_t i = 1; i < std::min(matches.size(), 1 + kMostRunnersUp); ++i) {
    text += "  then " + described(matches[i]) + "\n";
  }
  return text;
}

std::string as_json(const NoteRead& read) {
  const auto& [value, matches] = read.note;
  ordered_json all = {{"first", read.names[0]},
                      {"second", read.names[1].empty() ? ordered_json() : ordered_json(read.names[1])},
                      {"value", value == 0 ? ordered_json() : ordered_json(value)},
                      {"image", value == 0 ? ordered_json() : ordered_json(face_of(matches.front()))},
                      {"orientation", value == 0 ? ordered_json() : ordered_json(orientation_of(matches.front()))},
                      {"matches", ordered_json::array()}};
  for (const NoteMatch& match : matches) all["matches"].push_back(facts_of(match));
  return printable(all, 2) + "\n";
}

Bytes note_png(const std::array<Picture, 2>& faces, const NoteRead& read) {
  const auto& [value, matches] = read.note;
  Picture face = faces[!matches.empty() && matches.front().second ? 1 : 0];
  if (!matches.empty() && !matches.front().upright) std::ranges::reverse(face.samples);
  const std::string what = matches.empty() ? "no template fits" : described(matches.front());
  Picture picture = captioned(face, text_line((value > 0 ? "recognised: " : "not recognised: ") + what));
  draw_regions(picture, face, read);
  return as_png(view_of(picture));
}

}  // namespace tool
