// The checked interface: fonts of character templates, as values. C++20.
#ifndef ZELIMP_FONT_HPP
#define ZELIMP_FONT_HPP

#include <ZelIMP/basics.hpp>

namespace zelimp {

namespace detail {
struct FontSlots;
}

// What a font tells about one of its templates. Images are its bytes as the arithmetic takes them, whatever their
// palettes say; top row first.
struct FontCharacter {
  std::uint32_t code = 0;     // of the character; 0: deleted
  std::uint32_t samples = 0;  // that the mean counts; a mask counts as one
  Pixels mean;
  Pixels variance;  // running deviation from the mean, or a mask, which may have another size
};

// Up to 128 templates, as FontAPI keeps them: the same arithmetic and the same file, byte for byte, but no global and
// no trust. Copies are independent of each other.
class ZELIMP_API Font {
 public:
  static constexpr std::size_t kMostCharacters = 128;

  Font();
  Font(const Font&);
  Font(Font&&) noexcept;
  Font& operator=(const Font&);
  Font& operator=(Font&&) noexcept;
  ~Font();

  // Reads a font file, see FontAPI::LoadFont; an empty one is a font without templates. Throws not_loaded for a record
  // that is cut off, has no width or height or not those of its mean image, and for images without width or height, of
  // other than 8 bits, or with less bytes than they say; over_limit for more than 128 records, more than
  // limits.max_bytes, or images of more than limits.max_pixels.
  static Font load(std::span<const std::byte> file, const Limits& limits = {});

  // The file: templates with codes 1 to 127 by code, as FontAPI::SaveFont writes them.
  std::vector<std::byte> save() const;

  std::size_t size() const;                          // templates, deleted ones included
  FontCharacter character(std::size_t index) const;  // throws bad_argument at size() and beyond

  // The first template with this code; none for 0.
  std::optional<std::size_t> find(std::uint32_t code) const;

  // Adds a sample to the template with this code, from 1 to 127, or begins one of the sample's size. Returns its index.
  // Of a sample of another size the part counts that lies over the template when their lower left corners do. Throws
  // bad_argument for other codes, for a sample without pixels, and for a template whose rows lie top to bottom;
  // over_limit when all 128 are in use or the template has 65535 samples.
  std::size_t train(std::uint32_t code, const PixelView& sample);

  // Puts a mask in the place of the variance, and counts a sample; it has the size of the mean. Throws bad_argument,
  // and over_limit as train does.
  void set_mask(std::uint32_t code, const PixelView& mask);

  // Deletes a template: nothing else moves, and the file is written without it. Throws bad_argument.
  void remove(std::size_t index);

  // Adds the templates of another font, deleted ones left out, as they are. Throws bad_argument when a code is in both,
  // over_limit when they are more than 128 together; then nothing is changed.
  void merge(const Font& other);

 private:
  struct Slot;
  friend detail::FontSlots;
  std::vector<Slot> slots_;
};

}  // namespace zelimp

#endif
