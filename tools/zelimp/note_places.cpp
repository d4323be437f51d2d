#include "note_places.hpp"

#include <algorithm>
#include <array>
#include <sstream>

#include "exit_code.hpp"
#include "io.hpp"

namespace tool {
namespace {

// line_name is for messages: the line itself need not be text.
zelimp::NoteLocation location_of(const std::string& line, const std::string& line_name) {
  const auto refuse = [&] {
    throw Failure(Exit::malformed, line_name +
                                       " is no row of enabled (0 or 1), x, y, width, height: whole numbers up to " +
                                       std::to_string(kFarthest) + " with spaces between");
  };
  std::istringstream fields(line);
  std::array<std::int64_t, 5> numbers{};
  for (std::int64_t& number : numbers) {
    if (!(fields >> number) || number < -kFarthest || number > kFarthest) refuse();
  }
  const auto [enabled, x, y, width, height] = numbers;
  if (!(fields >> std::ws).eof() || enabled < 0 || enabled > 1 || width < 1 || height < 1) refuse();
  return {enabled == 1, static_cast<std::int32_t>(x), static_cast<std::int32_t>(y), static_cast<std::uint32_t>(width),
          static_cast<std::uint32_t>(height)};
}

}  // namespace

std::optional<std::size_t> class_of(int value) {
  const auto found = std::ranges::find(zelimp::kNoteValues, value);
  if (found == zelimp::kNoteValues.end()) return std::nullopt;
  return static_cast<std::size_t>(found - zelimp::kNoteValues.begin());
}

std::optional<zelimp::Box> region_on(const zelimp::NoteLocation& location, std::uint32_t width, std::uint32_t height) {
  const std::int64_t left = std::int64_t{location.x} + (location.x < 0 ? width : 0);
  const std::int64_t bottom = std::int64_t{location.y} + (location.y < 0 ? height : 0);
  const std::int64_t top = height - bottom - location.height;
  const bool inside = left >= 0 && bottom >= 0 && top >= 0 && left + location.width <= width;
  if (!inside || location.width == 0 || location.height == 0) return std::nullopt;
  return zelimp::Box{static_cast<std::uint32_t>(left), static_cast<std::uint32_t>(top), location.width,
                     location.height};
}

zelimp::NoteLocations read_locations(const std::string& path) {
  const Bytes file = read_file(path);
  std::istringstream text(std::string(reinterpret_cast<const char*>(file.data()), file.size()));
  zelimp::NoteLocations locations;
  std::size_t rows = 0, lines = 0;
  for (std::string line; std::getline(text, line);) {
    ++lines;
    line.resize(std::min(line.size(), line.find('#')));
    if (line.find_first_not_of(" \t\r") == line.npos) continue;
    const std::string name = input_name(path) + ": line " + std::to_string(lines);
    if (rows < locations.size()) locations[rows] = location_of(line, name);
    ++rows;
  }
  if (rows != locations.size()) {
    throw Failure(Exit::malformed, input_name(path) + ": has " + std::to_string(rows) + " rows instead of " +
                                       std::to_string(locations.size()));
  }
  return locations;
}

}  // namespace tool
