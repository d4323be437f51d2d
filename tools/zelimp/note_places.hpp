// Where the figures of banknotes are, by class, and what the classes are worth.
#pragma once

#include <ZelIMP/banknotes.hpp>
#include <optional>
#include <string>

namespace tool {

constexpr std::int32_t kFarthest = 100000;  // pixels; of places that are given as text

// The class of a value; none for other values than those of classes.
std::optional<std::size_t> class_of(int value);

// The place on an image of this size, from its upper left corner; none when it does not lie inside or has no pixels.
std::optional<zelimp::Box> region_on(const zelimp::NoteLocation& location, std::uint32_t width, std::uint32_t height);

// Seven rows of five whole numbers by class: enabled (0 or 1), x, y, width, height, as NoteLocation has them. Empty
// lines and what follows a # are left out. Throws Failure.
zelimp::NoteLocations read_locations(const std::string& path);

}  // namespace tool
