// Module ZelIMP: the writers that leave the encoding to libtiff and libjpeg.
//
//   fields of a TIFF      one function for any open TIFF
//   where a TIFF goes     a descriptor or a growing vector
//   JFIF                  one function for any destination of libjpeg; a stdio stream or a growing vector
//   entry points
//
// Neither library prints anything. No exception passes through their frames.

#include "ZelIMP_writers.hpp"

#include <ZelIMP/ZelIMP_pipeline.h>
#include <ZelIMP/ZelIMP_writers.h>
#include <fcntl.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include <jpeglib.h>

#include "ZelIMP_pipeline.hpp"
#include "files.hpp"

namespace {

using Bytes = std::vector<std::byte>;

constexpr char kTiffName[] = "varnoketemp.tif";
constexpr char kJfifName[] = "varnoketemp.jpg";

unsigned int effective_quality(unsigned int quality) { return quality == 0 ? 75 : std::min(quality, 100u); }

unsigned int samples_of(const TiffImage& image) { return image.bitDepth < 16 ? 1 : 3; }

bool has_pixels(const TiffImage& image) {
  const zel::Kind kind = samples_of(image) == 1 ? zel::Kind::grey : zel::Kind::colour;
  return image.image != nullptr && zel::has_whole_strip(image, kind, image.imageSize);
}

// ---- Fields of a TIFF

constexpr ttag_t kQualityTag = 53249;
char quality_name[] = "Varnoke Compression";
const TIFFFieldInfo kPrivateFields[] = {{kQualityTag, 1, 1, TIFF_SHORT, FIELD_CUSTOM, 1, 0, quality_name}};

struct TiffContent {
  zel::PlainTiff fields;
  std::optional<unsigned int> jpeg_quality;  // none: uncompressed
};

TiffContent jpeg_content(const TiffImage& image, unsigned int quality) {
  return {{image.image, image.imageSize, image.width, image.height, samples_of(image), image.xResolution,
           image.yResolution, image.makeString, image.modelString, image.descriptionString, image.softwareString},
          effective_quality(quality)};
}

bool set_numbers(TIFF* tif, const TiffContent& content) {
  const zel::PlainTiff& fields = content.fields;
  const auto set = [tif](ttag_t tag, std::uint32_t value) { return TIFFSetField(tif, tag, value) == 1; };
  // Refused when negative or not a number; the file goes without.
  TIFFSetField(tif, TIFFTAG_XRESOLUTION, fields.x_resolution);
  TIFFSetField(tif, TIFFTAG_YRESOLUTION, fields.y_resolution);
  return TIFFMergeFieldInfo(tif, kPrivateFields, 1) == 0 && set(TIFFTAG_SUBFILETYPE, 0) &&
         set(TIFFTAG_IMAGEWIDTH, fields.width) && set(TIFFTAG_IMAGELENGTH, fields.height) &&
         set(TIFFTAG_BITSPERSAMPLE, 8) && set(TIFFTAG_SAMPLESPERPIXEL, fields.samples) &&
         set(TIFFTAG_PHOTOMETRIC, fields.samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK) &&
         set(TIFFTAG_ROWSPERSTRIP, fields.height) &&
         set(TIFFTAG_COMPRESSION, content.jpeg_quality ? COMPRESSION_JPEG : COMPRESSION_NONE) &&
         set(TIFFTAG_FILLORDER, FILLORDER_MSB2LSB) && set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
         set(TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
}

// What becomes of tags when memory is short: libtiff may count one that its list has no room for, and it does not tell
// that it could not copy a text.
enum class Taken { all, not_all, list_broken };

Taken set_tags(TIFF* tif, const TiffContent& content) {
  if (!set_numbers(tif, content)) return Taken::not_all;
  const zel::PlainTiff& fields = content.fields;
  const std::pair<ttag_t, const char*> texts[] = {{TIFFTAG_MAKE, fields.make},
                                                  {TIFFTAG_MODEL, fields.model},
                                                  {TIFFTAG_IMAGEDESCRIPTION, fields.description},
                                                  {TIFFTAG_SOFTWARE, fields.software}};
  for (const auto& [tag, text] : texts) {
    if (text == nullptr) continue;
    const char* copy = nullptr;
    if (TIFFSetField(tif, tag, text) != 1) return Taken::list_broken;
    if (TIFFGetField(tif, tag, &copy) != 1 || copy == nullptr) return Taken::not_all;
  }
  // KEPT: the quality is told in the private tag and nowhere else. libtiff is not asked for it and encodes with its
  // own: test jpeg_tiff_tags_and_quality.
  const bool told = !content.jpeg_quality || TIFFSetField(tif, kQualityTag, *content.jpeg_quality) == 1;
  return told ? Taken::all : Taken::list_broken;
}

// A row of 2^31 bytes is too long for libtiff on i386.
bool can_be_written(const zel::PlainTiff& fields) {
  constexpr std::uint64_t kMostRowBytes = std::numeric_limits<std::int32_t>::max();
  return fields.width != 0 && fields.height != 0 && std::uint64_t{fields.width} * fields.samples <= kMostRowBytes &&
         fields.bytes <= std::size_t{std::numeric_limits<tmsize_t>::max()};
}

// Pixels that are not compressed pass through a block; libtiff would otherwise take as much memory as width and height
// ask for, which may be more than there are pixels.
bool set_buffer(TIFF* tif, const TiffContent& content) {
  constexpr tmsize_t kBlockBytes = 1 << 16;
  return content.jpeg_quality || TIFFWriteBufferSetup(tif, nullptr, kBlockBytes) == 1;
}

// Writes the one image of tif and releases it; whatever it writes to stays open. A null tif could not be opened.
bool write_tiff(TIFF* tif, const TiffContent& content) {
  if (tif == nullptr) return false;
  const Taken taken = set_tags(tif, content);
  // To release a broken list would free what happens to lie behind it: it stays.
  if (taken == Taken::list_broken) return false;
  const auto size = static_cast<tmsize_t>(content.fields.bytes);
  // libtiff would only change the pixels to turn the order of bits or bytes around.
  void* const pixels = const_cast<unsigned char*>(content.fields.pixels);
  const bool written = taken == Taken::all && set_buffer(tif, content) &&
                       TIFFWriteEncodedStrip(tif, 0, pixels, size) == size && TIFFFlush(tif) == 1;
  if (!written) TIFFSetMode(tif, O_RDONLY);  // or it would be tried again
  TIFFCleanup(tif);
  return written;
}

// ---- Where a TIFF goes

// A file in memory, for libtiff's client functions.
struct MemoryFile {
  Bytes bytes;
  std::uint64_t position = 0;
  bool out_of_memory = false;
};

tmsize_t memory_read(thandle_t handle, void* to, tmsize_t size) {
  MemoryFile& file = *static_cast<MemoryFile*>(handle);
  if (file.position >= file.bytes.size()) return 0;
  const auto at = static_cast<std::size_t>(file.position);
  const std::size_t n = std::min(static_cast<std::size_t>(size), file.bytes.size() - at);
  std::memcpy(to, file.bytes.data() + at, n);
  file.position += n;
  return static_cast<tmsize_t>(n);
}

tmsize_t memory_write(thandle_t handle, void* from, tmsize_t size) {
  MemoryFile& file = *static_cast<MemoryFile*>(handle);
  const std::uint64_t end = file.position + static_cast<std::uint64_t>(size);
  try {
    if (end > file.bytes.max_size()) throw std::bad_alloc();
    if (end > file.bytes.size()) file.bytes.resize(static_cast<std::size_t>(end));
  } catch (const std::bad_alloc&) {
    file.out_of_memory = true;
    return 0;
  }
  if (size != 0) std::memcpy(file.bytes.data() + file.position, from, static_cast<std::size_t>(size));
  file.position = end;
  return size;
}

toff_t memory_seek(thandle_t handle, toff_t offset, int whence) {
  MemoryFile& file = *static_cast<MemoryFile*>(handle);
  const std::uint64_t from = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? file.position : file.bytes.size();
  return file.position = from + offset;
}

int memory_close(thandle_t) { return 0; }
toff_t memory_size(thandle_t handle) { return static_cast<MemoryFile*>(handle)->bytes.size(); }
int memory_map(thandle_t, void**, toff_t*) { return 0; }
void memory_unmap(thandle_t, void*, toff_t) {}

#if TIFFLIB_VERSION >= 20221213  // 4.5: a file has handlers of its own

struct QuietHandlers {};

int report_nothing(TIFF*, void*, const char*, const char*, va_list) { return 1; }

// open(options): one of libtiff's opening functions.
template <class Open>
TIFF* open_quietly(Open open) {
  TIFFOpenOptions* const options = TIFFOpenOptionsAlloc();
  if (options == nullptr) return nullptr;
  TIFFOpenOptionsSetErrorHandlerExtR(options, report_nothing, nullptr);
  TIFFOpenOptionsSetWarningHandlerExtR(options, report_nothing, nullptr);
  TIFF* const tif = open(options);
  TIFFOpenOptionsFree(options);
  return tif;
}

TIFF* open_tiff(int fd) {
  return open_quietly([fd](TIFFOpenOptions* options) { return TIFFFdOpenExt(fd, kTiffName, "w", options); });
}

TIFF* open_tiff(MemoryFile& file) {
  return open_quietly([&file](TIFFOpenOptions* options) {
    return TIFFClientOpenExt(kTiffName, "w", &file, memory_read, memory_write, memory_seek, memory_close, memory_size,
                             memory_map, memory_unmap, options);
  });
}

#else

// The handlers of the whole process, switched off for a while. Files in memory leave them alone, since other threads
// may need them: there the messages go where the host wants them.
class QuietHandlers {
 public:
  QuietHandlers() : error_(TIFFSetErrorHandler(nullptr)), warning_(TIFFSetWarningHandler(nullptr)) {}
  ~QuietHandlers() {
    TIFFSetErrorHandler(error_);
    TIFFSetWarningHandler(warning_);
  }
  QuietHandlers(const QuietHandlers&) = delete;
  QuietHandlers& operator=(const QuietHandlers&) = delete;

 private:
  TIFFErrorHandler error_, warning_;
};

TIFF* open_tiff(int fd) { return TIFFFdOpen(fd, kTiffName, "w"); }

TIFF* open_tiff(MemoryFile& file) {
  return TIFFClientOpen(kTiffName, "w", &file, memory_read, memory_write, memory_seek, memory_close, memory_size,
                        memory_map, memory_unmap);
}

#endif

bool tiff_to_file(const TiffContent& content, const zel::Descriptor& file) {
  [[maybe_unused]] const QuietHandlers quiet;
  return write_tiff(open_tiff(file.get()), content);
}

std::optional<Bytes> tiff_in_memory(const TiffContent& content) {
  constexpr std::size_t kTagBytes = 1024;
  if (!can_be_written(content.fields)) return std::nullopt;
  MemoryFile file;
  if (!content.jpeg_quality) file.bytes.reserve(content.fields.bytes + kTagBytes);
  const bool written = write_tiff(open_tiff(file), content);
  if (file.out_of_memory) throw std::bad_alloc();
  if (!written) return std::nullopt;
  return std::move(file.bytes);
}

// ---- JFIF

struct JpegErrors {
  jpeg_error_mgr manager;  // first: libjpeg hands its address back
  std::jmp_buf escape;
};

[[noreturn]] void leave(j_common_ptr jpeg) { std::longjmp(reinterpret_cast<JpegErrors*>(jpeg->err)->escape, 1); }
void print_nothing(j_common_ptr) {}
void trace_nothing(j_common_ptr, int) {}

// KEPT: only the low 16 bits of a resolution, since the file has no room for more: 65836 dots per inch are told as 300:
// test jfif_header.
UINT16 density(double resolution) {
  const bool is_number = resolution >= 0.0 && resolution < 4294967296.0;
  return static_cast<UINT16>(is_number ? static_cast<std::uint32_t>(resolution) : 0);
}

void compress_image(j_compress_ptr jpeg, const TiffImage& image, unsigned int quality) {
  const unsigned int samples = samples_of(image);
  jpeg->image_width = image.width;
  jpeg->image_height = image.height;
  jpeg->input_components = static_cast<int>(samples);
  jpeg->in_color_space = samples == 1 ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(jpeg);
  jpeg_set_quality(jpeg, static_cast<int>(effective_quality(quality)), TRUE);
  jpeg->density_unit = 1;  // dots per inch
  jpeg->X_density = density(image.xResolution);
  jpeg->Y_density = density(image.yResolution);
  if (samples == 1) jpeg_set_colorspace(jpeg, JCS_GRAYSCALE);
  jpeg_start_compress(jpeg, TRUE);
  while (jpeg->next_scanline < image.height) {
    JSAMPROW row = image.image + std::size_t{jpeg->next_scanline} * image.width * samples;
    jpeg_write_scanlines(jpeg, &row, 1);
  }
  jpeg_finish_compress(jpeg);
}

// Encodes the image to where set_destination directs it. libjpeg comes back here by longjmp when it fails: nothing
// below may have a destructor.
bool encode_jfif(const TiffImage& image, unsigned int quality, void (*set_destination)(j_compress_ptr, void*),
                 void* destination) {
  JpegErrors errors;
  jpeg_compress_struct jpeg = {};
  jpeg.err = jpeg_std_error(&errors.manager);
  errors.manager.error_exit = leave;
  errors.manager.output_message = print_nothing;
  errors.manager.emit_message = trace_nothing;
  if (setjmp(errors.escape) != 0) {
    jpeg_destroy_compress(&jpeg);
    return false;
  }
  jpeg_create_compress(&jpeg);
  set_destination(&jpeg, destination);
  compress_image(&jpeg, image, quality);
  jpeg_destroy_compress(&jpeg);
  return true;
}

bool jfif_to_file(const TiffImage& image, unsigned int quality, const zel::Descriptor& file) {
  const int fd = file.duplicate();  // the stream closes the one it gets
  if (fd < 0) return false;
  std::FILE* const stream = fdopen(fd, "wb");
  if (stream == nullptr) {
    close(fd);
    return false;
  }
  const auto to_stream = [](j_compress_ptr jpeg, void* to) { jpeg_stdio_dest(jpeg, static_cast<std::FILE*>(to)); };
  const bool encoded = encode_jfif(image, quality, to_stream, stream);
  return std::fclose(stream) == 0 && encoded;
}

// A destination of libjpeg that appends to a vector, block by block.
struct MemoryDestination {
  jpeg_destination_mgr manager;  // first: libjpeg hands its address back
  Bytes bytes;
  bool out_of_memory;
  JOCTET block[16384];
};

MemoryDestination& memory_of(j_compress_ptr jpeg) { return *reinterpret_cast<MemoryDestination*>(jpeg->dest); }

void empty_block(j_compress_ptr jpeg) {
  jpeg->dest->next_output_byte = memory_of(jpeg).block;
  jpeg->dest->free_in_buffer = sizeof(MemoryDestination::block);
}

bool append(MemoryDestination& to, std::size_t n) {
  const auto* const block = reinterpret_cast<const std::byte*>(to.block);
  try {
    to.bytes.insert(to.bytes.end(), block, block + n);
  } catch (...) {
    to.out_of_memory = true;
  }
  return !to.out_of_memory;
}

boolean full_block(j_compress_ptr jpeg) {
  if (!append(memory_of(jpeg), sizeof(MemoryDestination::block))) leave(reinterpret_cast<j_common_ptr>(jpeg));
  empty_block(jpeg);
  return TRUE;
}

void last_block(j_compress_ptr jpeg) {
  const std::size_t left = sizeof(MemoryDestination::block) - jpeg->dest->free_in_buffer;
  if (!append(memory_of(jpeg), left)) leave(reinterpret_cast<j_common_ptr>(jpeg));
}

// ---- Entry points

// Length and bytes of the finished temporary file. The length is told even when the bytes cannot be read.
bool read_back(const zel::Descriptor& file, unsigned char* output, unsigned int* output_size) {
  const std::optional<std::uint64_t> size = zel::regular_file_bytes(file);
  if (!size || *size > std::numeric_limits<unsigned int>::max()) return false;
  *output_size = static_cast<unsigned int>(*size);
  return zel::read_from_start(file, output, *size);
}

unsigned int status_of(bool done) { return done ? ZELIMP_OK : ZELIMP_TEMPORARY_FILE; }

bool tiff_by_file(const TiffContent& content, unsigned char* output, unsigned int* output_size) {
  if (!can_be_written(content.fields)) return false;
  const zel::Descriptor file = zel::open_temporary(kTiffName);
  const zel::WithoutFileSizeSignal no_signal;
  return file.is_open() && tiff_to_file(content, file) && read_back(file, output, output_size);
}

bool jfif_by_file(const TiffImage& image, unsigned char* output, unsigned int* output_size, unsigned int quality) {
  const zel::Descriptor file = zel::open_temporary(kJfifName);
  const zel::WithoutFileSizeSignal no_signal;
  return file.is_open() && jfif_to_file(image, quality, file) && read_back(file, output, output_size);
}

}  // namespace

std::optional<Bytes> zel::jpeg_tiff_in_memory(const TiffImage& image, unsigned int quality) {
  if (!has_pixels(image)) return std::nullopt;
  return tiff_in_memory(jpeg_content(image, quality));
}

std::optional<Bytes> zel::jfif_in_memory(const TiffImage& image, unsigned int quality) {
  if (!has_pixels(image)) return std::nullopt;
  MemoryDestination memory = {};
  memory.manager.init_destination = empty_block;
  memory.manager.empty_output_buffer = full_block;
  memory.manager.term_destination = last_block;
  const auto to_memory = [](j_compress_ptr jpeg, void* to) { jpeg->dest = static_cast<jpeg_destination_mgr*>(to); };
  const bool encoded = encode_jfif(image, quality, to_memory, &memory.manager);
  if (memory.out_of_memory) throw std::bad_alloc();
  if (!encoded) return std::nullopt;
  return std::move(memory.bytes);
}

std::optional<Bytes> zel::plain_tiff_in_memory(const PlainTiff& fields) { return tiff_in_memory({fields, {}}); }

bool zel::plain_tiff_by_file(const PlainTiff& fields, unsigned char* output) {
  TIFFSetTagExtender(nullptr);
  unsigned int size = 0;
  return tiff_by_file({fields, {}}, output, &size);
}

unsigned int ProcessTIFF_JPG(TiffImage image, unsigned char* output, unsigned int* outputSize, unsigned int quality) {
  // This copy goes when the call ends and must not take the caller's bitmap with it.
  image.dib = nullptr;
  return status_of(has_pixels(image) && tiff_by_file(jpeg_content(image, quality), output, outputSize));
}

unsigned int ProcessJFIF_JPG(TiffImage image, unsigned char* output, unsigned int* outputSize, unsigned int quality) {
  image.dib = nullptr;
  return status_of(has_pixels(image) && jfif_by_file(image, output, outputSize, quality));
}
