// The checked interface: the value of banknotes. C++20.
#ifndef ZELIMP_BANKNOTES_HPP
#define ZELIMP_BANKNOTES_HPP

#include <ZelIMP/Font.hpp>
#include <array>

namespace zelimp {

// Where the figure of a class is looked for on a note, in pixels; y from the bottom of the picture.
struct NoteLocation {
  bool enabled = false;
  std::int32_t x = 0;  // negative: from the right edge
  std::int32_t y = 0;  // negative: from the top edge, down to the region's lowest row
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};

// By class: values 1, 2, 5, 10, 20, 50, 100.
using NoteLocations = std::array<NoteLocation, 7>;
inline constexpr std::array<int, 7> kNoteValues = {1, 2, 5, 10, 20, 50, 100};

// What the flat call uses: class 1 alone.
ZELIMP_API NoteLocations usual_locations();

// One template on one image in one orientation, at its best place.
struct NoteMatch {
  std::size_t index = 0;   // of the template in the font
  std::uint32_t code = 0;  // of the template; its class is code & 15
  int value = 0;
  bool second = false;  // on the second image
  bool upright = true;  // as the image was given; else turned by 180 degrees
  // Where the template lay, from the top left of the image as it was looked at: the first place below the limit, row by
  // row from the lower left, else the first of the best.
  Box place;
  std::uint32_t disagreeing = 0;  // pixels
  std::uint32_t limit = 0;        // a twenty-fifth of the template's pixels
  // disagreeing * 1000 / limit: below 1000 is accepted. With a limit of 0, of less than 25 pixels, disagreeing itself.
  int score = 0;
};

struct Banknote {
  int value = 0;  // 0: not recognised
  // The winner first, then the others by score, of equals the one that was looked at first. With a value: those on the
  // image and in the orientation in which it was found; without: of all that were looked at.
  std::vector<NoteMatch> matches;
};

// The value of a note, tried as ZelIMPMoneyGetValue does: second image, the same turned (ImageBox_Rotate180), first
// image, the same turned; the first that is recognised. Images are 8-bit DIBs with headers of 40 or 12 bytes, or whole
// bitmap files, not changed; empty ones are left out. A template of a class that is not enabled, that was deleted, or
// that is larger than its region is not compared. Both images are looked at before either is tried: throws not_loaded
// when header, colour table and rows do not lie within the bytes one behind the other, unsupported for other depths,
// headers or compressed rows, over_limit; bad_argument when the region of an enabled class of which there are templates
// is empty or not inside an image (see Extract_image), and when such a template has its rows top to bottom or a mask of
// another size.
ZELIMP_API Banknote read_banknote(std::span<const std::byte> first, std::span<const std::byte> second,
                                  const Font& templates, const NoteLocations& locations = usual_locations(),
                                  const Limits& limits = {});

}  // namespace zelimp

#endif
