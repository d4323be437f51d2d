// The checked interface: micro-holes.

#include <ZelIMP/holes.hpp>

#include <algorithm>
#include <new>

#include "HRFF.hpp"
#include "ImagBox.hpp"
#include "MoneyDecode.hpp"
#include "base/allocated.hpp"
#include "checked/dib_input.hpp"
#include "checked/scan_input.hpp"

namespace zelimp {

using namespace detail;

namespace {

using zel::Allocated;
using zel::GreyDib;

// A face as it was given: verified, only read.
struct Face {
  GreyDib image;
  const char* name;
  bool mirrored;  // read as ImageBox_Mirror would leave it
};

// Row r of the zone as it lies in the image, of which the zone's row 0 is the lowest of the picture.
std::size_t row_of(const Face& face, const HoleZone& zone, std::size_t r) {
  if (!face.image.top_down) return zone.bottom + r;
  const std::size_t from_bottom = zone.bottom - 1 + r;
  return face.mirrored ? from_bottom : face.image.pixels.height() - 1 - from_bottom;
}

void check_zone(const Face& face, const HoleZone& zone) {
  const std::uint64_t width = face.image.pixels.width(), height = face.image.pixels.height();
  const std::uint64_t right = std::uint64_t{zone.left} + zone.width, top = std::uint64_t{zone.bottom} + zone.height;
  bool inside = zone.width != 0 && zone.height != 0 && right <= width && top <= height;
  if (face.image.top_down) {
    inside = zone.width != 0 && right <= width && zone.height >= 3 && zone.height <= 128 &&
             zone.bottom >= zone.height && top <= height + 1;
  }
  if (inside) return;
  bad_argument("the zone of " + std::to_string(zone.width) + " x " + std::to_string(zone.height) + " pixels at " +
               std::to_string(zone.left) + ", " + std::to_string(zone.bottom) + " is not inside the " + face.name +
               " image of " + std::to_string(width) + " x " + std::to_string(height));
}

Allocated cut_zone(const Face& face, const HoleZone& zone) {
  const GreyDib& image = face.image;
  Allocated cut(
      zel::new_grey_dib(image, static_cast<std::int32_t>(zone.width), static_cast<std::int32_t>(zone.height)));
  const auto result = zel::grey_dib(cut.get());
  if (!result) throw std::bad_alloc();
  for (std::size_t r = 0; r < result->pixels.height(); ++r) {
    const std::span<std::uint8_t> out = result->pixels.row(r);
    const std::size_t row = row_of(face, zone, r);
    if (face.mirrored && !image.top_down) {
      zel::mirrored_row(image, row, zone.left, out);
    } else {
      std::ranges::copy(image.pixels.row(row).subspan(zone.left, out.size()), out.begin());
    }
  }
  return cut;
}

// Where something that was cut out of a picture lies in it: column and row of its first pixel, from the bottom.
struct Place {
  std::int64_t left, bottom, width, height;  // of the picture: width, height

  Place at(int column, int row) const { return {left + column, bottom + row, width, height}; }

  // The part that the picture has of columns 0 to columns - 1 and as many rows, on from here.
  Box box(int columns, int rows) const {
    const auto clip = [](std::int64_t value, std::int64_t most) {
      return static_cast<std::uint32_t>(std::clamp<std::int64_t>(value, 0, most));
    };
    const std::uint32_t x = clip(left, width), end = clip(left + columns, width);
    const std::uint32_t top = clip(height - bottom - rows, height), below = clip(height - bottom, height);
    return {x, top, end - std::min(x, end), below - std::min(top, below)};
  }
};

HoleCharacter told(const zel::DecodedHole& hole, const CHAR_BOX& box, const Place& line) {
  HoleCharacter out;
  out.character = hole.character;
  out.box = line.at(box.left, box.top).box(box.right - box.left, box.bottom - box.top + 1);
  out.pattern = hole.pattern;
  for (std::size_t k = 0; k < out.cells.size(); ++k) {
    out.cells[k] = line.at(hole.cell_left[k], hole.cell_row[k]).box(4, 4);
  }
  out.differing = hole.differing;
  return out;
}

// Decodes the boxes on a line that was cut.
void read_line(const GreyDib& line, const Place& place, HoleFace& face) {
  const zel::Boxes found = zel::find_boxes(line, zel::kMicroHoles);
  face.floor_threshold = face.floor_threshold || !found.in_range;
  const std::span<const CHAR_BOX> boxes = std::span(found.box).first(static_cast<std::size_t>(found.count));
  std::vector<char> characters;
  for (const zel::DecodedHole& hole : zel::decode_holes(line, boxes, zel::kHoleDigits)) {
    face.characters.push_back(told(hole, boxes[characters.size()], place));
    characters.push_back(hole.character);
  }
  face.text = zel::spaced(characters, boxes);
  face.read = !face.text.empty();
}

HoleFace read_face(const Face& given, const HoleZone& zone) {
  HoleFace face;
  const Allocated cut = cut_zone(given, zone);
  const GreyDib pixels = *zel::grey_dib(cut.get());
  const Place place = {zone.left, std::int64_t{zone.bottom} - (given.image.top_down ? 1 : 0),
                       static_cast<std::int64_t>(given.image.pixels.width()),
                       static_cast<std::int64_t>(given.image.pixels.height())};
  face.zone = place.box(static_cast<int>(zone.width), static_cast<int>(zone.height));

  zel::equalize(pixels);
  const zel::Line line = zel::find_string(pixels, zel::kMicroHoles);
  face.floor_threshold = !line.in_range;
  if (!line.inked) {
    face.reason = HoleReason::no_ink;
    return face;
  }
  face.line = place.at(line.left, line.top).box(line.right - line.left, line.bottom - line.top);
  const Allocated strip(zel::cut_string(pixels, line));
  if (strip == nullptr) throw std::bad_alloc();
  if (const auto image = zel::grey_dib(strip.get())) read_line(*image, place.at(line.left, line.top), face);
  const auto unmatched = [](const HoleCharacter& character) { return character.character == '?'; };
  if (!face.read) {
    face.reason = face.floor_threshold ? HoleReason::no_line_height : HoleReason::no_box;
  } else if (std::ranges::any_of(face.characters, unmatched)) {
    face.reason = HoleReason::unmatched;
  }
  return face;
}

zel::FaceReading reading_of(const HoleFace& face) {
  if (face.read) return {zel::Reading::read, face.text.c_str()};
  return {face.reason == HoleReason::no_image ? zel::Reading::missing : zel::Reading::failed, ""};
}

}  // namespace

MicroHoles read_micro_holes(std::span<const std::byte> front, std::span<const std::byte> rear, const HoleZone& zone,
                            const Limits& limits) {
  const auto verified = [&](std::span<const std::byte> bytes, const char* name, bool mirrored) {
    std::optional<Face> face;
    if (bytes.empty()) return face;
    face = Face{checked_dib(bytes, name, limits), name, mirrored};
    check_zone(*face, zone);
    return face;
  };
  const std::optional<Face> front_face = verified(front, "front", false), rear_face = verified(rear, "rear", true);
  const auto read = [&](const std::optional<Face>& face) {
    if (face) return read_face(*face, zone);
    HoleFace none;
    none.reason = HoleReason::no_image;
    return none;
  };
  MicroHoles holes;
  holes.front = read(front_face);
  holes.rear = read(rear_face);
  char text[zel::kResultBytes];
  holes.status = zel::compare_faces(reading_of(holes.front), reading_of(holes.rear), text);
  holes.text = text;
  return holes;
}

}  // namespace zelimp
