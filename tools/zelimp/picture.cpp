#include "picture.hpp"

#include <allheaders.h>
#include <fcntl.h>
#include <unistd.h>
#include <ZelIMP.hpp>
#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <utility>

#include "exit_code.hpp"

namespace tool {
namespace {

struct PixDeleter {
  void operator()(Pix* pix) const { pixDestroy(&pix); }
};
using PixPtr = std::unique_ptr<Pix, PixDeleter>;

// The decoders below Leptonica print their own complaints about a picture; ours is one sentence. While this object
// lives standard error leads nowhere.
class Silence {
 public:
  Silence() : saved_(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
    setMsgSeverity(L_SEVERITY_NONE);
    const int nowhere = saved_ < 0 ? -1 : ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere >= 0) ::dup2(nowhere, STDERR_FILENO);
    if (nowhere >= 0) ::close(nowhere);
  }
  ~Silence() {
    if (saved_ < 0) return;
    ::dup2(saved_, STDERR_FILENO);
    ::close(saved_);
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

 private:
  int saved_;
};

const l_uint8* leptonica_bytes(std::span<const std::byte> bytes) {
  return reinterpret_cast<const l_uint8*>(bytes.data());
}

// Leptonica takes 16 bits a pixel for grey and exchanges red and blue of 32.
void check_bitmap(const std::string& name, std::span<const std::byte> bytes) {
  constexpr std::size_t kBits = 28;
  if (bytes.size() > kBits && bytes[kBits] != std::byte{16} && bytes[kBits] != std::byte{32}) return;
  throw Failure(Exit::unsupported, name + ": only bitmaps with 1, 4, 8 or 24 bits a pixel are supported");
}

// The picture's size, from its first bytes, so that nothing is decoded that is too large.
void check_picture(const std::string& name, std::span<const std::byte> bytes) {
  constexpr std::array kKnown = {IFF_PNG,           IFF_JFIF_JPEG, IFF_PNM,       IFF_TIFF,
                                 IFF_TIFF_PACKBITS, IFF_TIFF_RLE,  IFF_TIFF_G3,   IFF_TIFF_G4,
                                 IFF_TIFF_LZW,      IFF_TIFF_ZIP,  IFF_TIFF_JPEG, IFF_BMP};
  l_int32 format = IFF_UNKNOWN;
  // Twelve bytes are looked at, whatever the length.
  if (bytes.size() < 12 || findFileFormatBuffer(leptonica_bytes(bytes), &format) != 0 ||
      std::ranges::find(kKnown, format) == kKnown.end()) {
    throw Failure(Exit::malformed, name + ": not a PNG, JPEG, TIFF, BMP or PNM picture");
  }
  if (format == IFF_BMP) check_bitmap(name, bytes);
  l_int32 width = 0;
  l_int32 height = 0;
  if (pixReadHeaderMem(leptonica_bytes(bytes), bytes.size(), nullptr, &width, &height, nullptr, nullptr, nullptr) !=
          0 ||
      width <= 0 || height <= 0) {
    throw Failure(Exit::malformed, name + ": the picture's header is damaged");
  }
  if (static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height) > zelimp::Limits{}.max_pixels) {
    throw Failure(Exit::over_limit, name + ": " + std::to_string(width) + " x " + std::to_string(height) +
                                        " pixels are more than the tool accepts");
  }
}

// A word of Leptonica's rows holds four grey samples or one pixel, the first in its top byte.
constexpr std::array kComponentShifts = {24, 16, 8, 0};
std::span<const int> shifts_of(std::uint32_t planes) { return std::span(kComponentShifts).first(planes); }
int grey_shift(std::uint32_t x) { return static_cast<int>(24 - x % 4 * 8); }

struct KindFacts {
  const char* name;
  l_int32 number;  // Leptonica's
};
constexpr std::array<KindFacts, 4> kKinds = {
    {{"PNG", IFF_PNG}, {"TIFF", IFF_TIFF_LZW}, {"JPEG", IFF_JFIF_JPEG}, {"BMP", IFF_BMP}}};
constexpr const KindFacts& facts_of(FileKind kind) { return kKinds[static_cast<std::size_t>(kind)]; }

[[noreturn]] void refuse_size(std::uint32_t width, std::uint32_t height, FileKind kind) {
  throw Failure(Exit::over_limit, "a picture of " + std::to_string(width) + " x " + std::to_string(height) +
                                      " pixels cannot be written as " + facts_of(kind).name);
}

Bytes coded(Pix* pix, FileKind kind, int quality = 0) {
  constexpr l_int32 kLevel = 3;  // scans: 2.5 times as fast as the usual 6, and no larger
  l_uint8* file = nullptr;
  std::size_t size = 0;
  pixSetZlibCompression(pix, kLevel);
  const bool failed = (kind == FileKind::jpeg ? pixWriteMemJpeg(&file, &size, pix, quality, 0)
                                              : pixWriteMem(&file, &size, pix, facts_of(kind).number)) != 0;
  const std::unique_ptr<l_uint8, decltype(&lept_free)> owner(file, lept_free);
  if (failed) {
    refuse_size(static_cast<std::uint32_t>(pixGetWidth(pix)), static_cast<std::uint32_t>(pixGetHeight(pix)), kind);
  }
  const std::byte* first = reinterpret_cast<const std::byte*>(file);
  return Bytes(first, first + size);
}

PixPtr pix_of(const zelimp::StepImage& image, FileKind kind) {
  PixPtr pix(
      pixCreate(static_cast<l_int32>(image.width), static_cast<l_int32>(image.height), image.planes > 1 ? 32 : 8));
  if (!pix) refuse_size(image.width, image.height, kind);
  if (image.planes == 4) pixSetSpp(pix.get(), 4);
  const std::size_t row_words = static_cast<std::size_t>(pixGetWpl(pix.get()));
  const std::byte* sample = image.pixels.data();
  const auto next = [&sample](int shift) { return std::to_integer<l_uint32>(*sample++) << shift; };
  for (std::uint32_t y = 0; y < image.height; ++y) {
    l_uint32* row = pixGetData(pix.get()) + y * row_words;
    for (std::uint32_t x = 0; x < image.width; ++x) {
      if (image.planes > 1) {
        for (const int shift : shifts_of(image.planes)) row[x] |= next(shift);
      } else {
        row[x / 4] |= next(grey_shift(x));
      }
    }
  }
  return pix;
}

Picture samples_of(Pix* pix, std::uint32_t planes) {
  Picture picture{
      static_cast<std::uint32_t>(pixGetWidth(pix)), static_cast<std::uint32_t>(pixGetHeight(pix)), planes, {}};
  picture.samples.reserve(std::size_t{picture.width} * picture.height * picture.planes);
  const std::size_t row_words = static_cast<std::size_t>(pixGetWpl(pix));
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    const l_uint32* row = pixGetData(pix) + y * row_words;
    for (std::uint32_t x = 0; x < picture.width; ++x) {
      if (planes > 1) {
        for (const int shift : shifts_of(planes)) picture.samples.push_back(static_cast<std::uint8_t>(row[x] >> shift));
      } else {
        picture.samples.push_back(static_cast<std::uint8_t>(row[x / 4] >> grey_shift(x)));
      }
    }
  }
  return picture;
}

PixPtr decoded(const std::string& name, std::span<const std::byte> bytes) {
  check_picture(name, bytes);
  PixPtr pix(pixReadMem(leptonica_bytes(bytes), bytes.size()));
  if (!pix) throw Failure(Exit::malformed, name + ": the picture is damaged or of a kind that cannot be read");
  // A PNG in grey of more than one bit without alpha: of a level that is transparent Leptonica makes a picture that is.
  if (pixGetInputFormat(pix.get()) == IFF_PNG && pixGetSpp(pix.get()) == 4 && bytes[24] != std::byte{1} &&
      bytes[25] == std::byte{0}) {
    throw Failure(Exit::unsupported, name + ": a grey level that is transparent is not supported");
  }
  return pix;
}

[[noreturn]] void refuse_pixels(const std::string& name) {
  throw Failure(Exit::unsupported, name + ": the picture's kind of pixels is not supported");
}

bool has_alpha(Pix* pix) {
  l_int32 opaque = 1;
  return pixGetSpp(pix) == 4 && pixAlphaIsOpaque(pix, &opaque) == 0 && opaque == 0;
}

// Of a TIFF's red, green, blue and alpha Leptonica gives products, of its grey and alpha, and of a PNG, it does not.
bool has_products(Pix* pix, const Bytes& bytes) {
  l_int32 samples = 0;
  return pixGetInputFormat(pix) != IFF_PNG &&
         pixReadHeaderMem(leptonica_bytes(bytes), bytes.size(), nullptr, nullptr, nullptr, nullptr, &samples,
                          nullptr) == 0 &&
         samples != 2;
}

// change(component, alpha) for all of a picture with four planes.
template <class Change>
void change_colours(Picture& picture, Change change) {
  for (std::size_t i = 0; i < picture.samples.size(); i += 4) {
    const unsigned alpha = picture.samples[i + 3];
    for (std::size_t k = i; k < i + 3; ++k) {
      picture.samples[k] = static_cast<std::uint8_t>(change(unsigned{picture.samples[k]}, alpha));
    }
  }
}

void multiply_by_alpha(Picture& picture) {
  change_colours(picture, [](unsigned component, unsigned alpha) { return (component * alpha + 127) / 255; });
}

void divide_by_alpha(Picture& picture) {
  change_colours(picture, [](unsigned component, unsigned alpha) {
    return alpha == 0 ? 0 : std::min(255u, (component * 255 + alpha / 2) / alpha);
  });
}

}  // namespace

Picture read_picture(const std::string& path, bool colour) {
  return decode_picture(input_name(path), read_file(path), colour);
}

Picture decode_picture(const std::string& name, std::span<const std::byte> file, bool colour) {
  const Silence silence;
  PixPtr pix = decoded(name, file);
  pix.reset(pixRemoveAlpha(pix.get()));
  if (pix) pix.reset(colour ? pixConvertTo32(pix.get()) : pixConvertTo8(pix.get(), 0));
  if (!pix) refuse_pixels(name);
  return samples_of(pix.get(), colour ? 3 : 1);
}

Picture read_picture(const std::string& path) {
  const Bytes bytes = read_file(path);
  const Silence silence;
  PixPtr pix = decoded(input_name(path), bytes);
  const l_int32 x_dpi = pixGetXRes(pix.get());
  const l_int32 y_dpi = pixGetYRes(pix.get());
  const bool products = has_products(pix.get(), bytes);
  pix.reset(pixRemoveColormap(pix.get(), REMOVE_CMAP_BASED_ON_SRC));
  const bool grey = pix && pixGetDepth(pix.get()) <= 16;
  if (pix) pix.reset(grey ? pixConvertTo8(pix.get(), 0) : pixConvertTo32(pix.get()));
  if (!pix) refuse_pixels(input_name(path));

  Picture picture = samples_of(pix.get(), grey ? 1 : has_alpha(pix.get()) ? 4 : 3);
  if (picture.planes == 4 && !products) multiply_by_alpha(picture);
  if (x_dpi > 0 && y_dpi > 0) {
    picture.x_dpi = static_cast<std::uint32_t>(x_dpi);
    picture.y_dpi = static_cast<std::uint32_t>(y_dpi);
  }
  return picture;
}

Picture on_white(const Picture& picture) {
  Picture flat{picture.width, picture.height, 3, {}, picture.x_dpi, picture.y_dpi};
  flat.samples.reserve(picture.samples.size() / 4 * 3);
  for (std::size_t i = 0; i < picture.samples.size(); i += 4) {
    const int white = 255 - picture.samples[i + 3];
    for (std::size_t k = i; k < i + 3; ++k) {
      flat.samples.push_back(static_cast<std::uint8_t>(std::min(255, picture.samples[k] + white)));
    }
  }
  return flat;
}

Bytes as_file(Picture picture, FileKind kind, int quality) {
  const Silence silence;
  if (picture.planes == 4 && kind == FileKind::png) divide_by_alpha(picture);
  const PixPtr pix = pix_of(view_of(picture), kind);
  pixSetResolution(pix.get(), static_cast<l_int32>(picture.x_dpi), static_cast<l_int32>(picture.y_dpi));
  return coded(pix.get(), kind, quality);
}

Bytes as_png(const std::string& scan_name, std::span<const std::byte> file) {
  const Silence silence;
  const PixPtr pix(pixReadMem(leptonica_bytes(file), file.size()));
  // The library keeps tags that it does not look at; other programs do.
  if (!pix) {
    throw Failure(Exit::unsupported, scan_name + ": no preview, the scan has tags with which the result is unreadable");
  }
  return coded(pix.get(), FileKind::png);
}

Bytes as_png(const zelimp::StepImage& image) {
  const Silence silence;
  return coded(pix_of(image, FileKind::png).get(), FileKind::png);
}

zelimp::StepImage view_of(const Picture& picture) {
  return {picture.width, picture.height, picture.planes, std::as_bytes(std::span(picture.samples))};
}

Picture copy_of(const zelimp::StepImage& image) {
  Picture picture{image.width, image.height, image.planes, {}};
  picture.samples.reserve(image.pixels.size());
  for (const std::byte sample : image.pixels) picture.samples.push_back(std::to_integer<std::uint8_t>(sample));
  return picture;
}

Picture in_colour(const zelimp::StepImage& image) {
  if (image.planes == 3) return copy_of(image);
  Picture picture{image.width, image.height, 3, {}};
  picture.samples.reserve(image.pixels.size() * 3);
  for (const std::byte level : image.pixels) {
    picture.samples.insert(picture.samples.end(), 3, std::to_integer<std::uint8_t>(level));
  }
  return picture;
}

void fill(Picture& picture, const zelimp::Box& box, Colour colour) {
  const std::uint64_t right = std::min<std::uint64_t>(std::uint64_t{box.left} + box.width, picture.width);
  const std::uint64_t bottom = std::min<std::uint64_t>(std::uint64_t{box.top} + box.height, picture.height);
  for (std::uint64_t y = box.top; y < bottom; ++y) {
    for (std::uint64_t x = box.left; x < right; ++x) {
      const std::array samples = {colour.red, colour.green, colour.blue};
      std::ranges::copy(samples, picture.samples.begin() + static_cast<std::ptrdiff_t>((y * picture.width + x) * 3));
    }
  }
}

void outline(Picture& picture, const zelimp::Box& box, std::uint32_t thickness, Colour colour) {
  const std::uint32_t across = std::min(thickness, box.width);
  const std::uint32_t down = std::min(thickness, box.height);
  fill(picture, {box.left, box.top, box.width, down}, colour);
  fill(picture, {box.left, box.top + box.height - down, box.width, down}, colour);
  fill(picture, {box.left, box.top, across, box.height}, colour);
  fill(picture, {box.left + box.width - across, box.top, across, box.height}, colour);
}

Picture text_line(const std::string& text) {
  constexpr l_int32 kPoints = 4;  // at 300 dots per inch
  struct FontDeleter {
    void operator()(L_Bmf* font) const { bmfDestroy(&font); }
  };
  const Silence silence;
  static const std::unique_ptr<L_Bmf, FontDeleter> font(bmfCreate(nullptr, kPoints));
  l_int32 width = 0;
  if (!font || bmfGetStringWidth(font.get(), text.c_str(), &width) != 0) throw std::bad_alloc();
  const PixPtr pix(pixCreate(width + font->spacewidth, font->lineheight + font->vertlinesep, 8));
  if (!pix || pixSetAll(pix.get()) != 0) throw std::bad_alloc();
  pixSetTextline(pix.get(), font.get(), text.c_str(), 0, 0, font->baseline2, nullptr, nullptr);
  return samples_of(pix.get(), false);
}

}  // namespace tool
