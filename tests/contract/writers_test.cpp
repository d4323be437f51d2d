// Files made by libtiff and libjpeg, read back with them: tags, pixels, and what happens to a temporary file that is
// not ours.
#include <sys/mman.h>
#include <sys/resource.h>
#include <tiffio.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <numeric>

#include <jpeglib.h>

#include "ZelIMP_writers.hpp"
#include "support.hpp"
#include "support/temporary_names.hpp"
using namespace zel::test;

static bool same(const std::optional<std::vector<std::byte>>& made, const Bytes& file) {
  return made && std::ranges::equal(std::as_bytes(std::span(file)), *made);
}

// The tags as libtiff tells them, "-" for one that is not there. pixels: of its strip.
static std::string tags_of(const Bytes& file, Bytes& pixels) {
  TIFFSetWarningHandler(nullptr);  // of the private tag
  const int memory = memfd_create("made", 0);
  EXPECT_EQ(pwrite(memory, file.data(), file.size(), 0), static_cast<ssize_t>(file.size()));
  TIFF* const in = TIFFFdOpen(memory, "made", "r");
  std::string out;
  for (const unsigned tag : {254u, 256u, 257u, 278u, 258u, 259u, 262u, 266u, 277u, 284u, 296u}) {
    std::uint32_t value = 0;  // libtiff fills 16 or 32 bits
    out += (TIFFGetField(in, tag, &value) == 1 ? std::to_string(value) : "-") + ' ';
  }
  for (const unsigned tag : {282u, 283u}) {
    float value = 0;
    out += (TIFFGetField(in, tag, &value) == 1 ? std::to_string(value).substr(0, 5) : "-") + ' ';
  }
  const char* text = nullptr;
  for (const unsigned tag : {271u, 272u, 270u, 305u}) (out += TIFFGetField(in, tag, &text) == 1 ? text : "-") += '|';
  std::uint32_t n = 0;
  const std::uint16_t* quality = nullptr;
  if (TIFFGetField(in, 53249, &n, &quality) == 1) out += std::to_string(n) + ' ' + std::to_string(*quality);
  pixels.resize(static_cast<std::size_t>(TIFFStripSize(in)));
  EXPECT_EQ(TIFFReadEncodedStrip(in, 0, pixels.data(), -1), static_cast<tmsize_t>(pixels.size()));
  TIFFClose(in);
  return out;
}

// Components, colour space, density unit, densities and first quantisation step of a JFIF file.
static std::array<int, 6> jfif_facts(const Bytes& file, Bytes& pixels) {
  jpeg_decompress_struct in;
  jpeg_error_mgr errors;
  in.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&in);
  jpeg_mem_src(&in, file.data(), file.size());
  jpeg_read_header(&in, TRUE);
  jpeg_start_decompress(&in);
  const int step = in.quant_tbl_ptrs[0]->quantval[0];
  for (JSAMPROW row = pixels.data(); in.output_scanline < 32; row += pixels.size() / 32)
    jpeg_read_scanlines(&in, &row, 1);
  jpeg_destroy_decompress(&in);
  return {in.num_components, in.jpeg_color_space, in.density_unit, in.X_density, in.Y_density, step};
}

struct Writers : testing::Test {
  void SetUp() override {
    if (names.taken() != nullptr) GTEST_SKIP() << names.taken();
  }
  TemporaryNames names;
};

TEST_F(Writers, jpeg_tiff_tags_and_quality_and_jfif_header) {
  Bytes first[2];
  // Samples, the quality asked for, the one taken, and libjpeg's first quantisation step for it.
  for (const auto& [samples, asked, taken, step] :
       {std::array{1u, 0u, 75u, 8u}, {3, 0, 75, 8}, {1, 150, 100, 1}, {3, -3u, 100, 1}, {1, 40, 40, 20}}) {
    const bool grey = samples == 1;
    Bytes source(40 * 32 * samples, 28), output = untouched(9000), decoded;
    std::fill_n(source.begin(), 40 * 16 * samples, 228);  // two levels that come back as they were
    Bytes tiff = device_tiff(40, 32, samples, source).bytes();
    LoadedImage image(tiff);
    image.dib = static_cast<unsigned char*>(std::malloc(1));  // not the writers' to free
    image.yResolution = 65836.75;
    unsigned n = 0;
    EXPECT_EQ(ProcessTIFF_JPG(image, output.data(), &n, asked), 0u);
    EXPECT_EQ(std::count(output.begin() + n, output.end(), 0xA5), std::ssize(output) - n);
    output.resize(n);
    EXPECT_TRUE(output == content_of(names.kTiff) && same(zel::jpeg_tiff_in_memory(image, asked), output));
    EXPECT_EQ(tags_of(output, decoded), std::string("0 40 32 32 8 7 ") + (grey ? "1 1 1" : "2 1 3") +
                                            " 1 2 200.0 65836 Varnoke Industries, Inc|" +
                                            "T 7200|front and rear|firmware 1.2|1 " + std::to_string(taken));
    EXPECT_EQ(decoded, source);
    // Whatever the quality, nothing but its tag differs.
    Bytes& other = first[samples / 2].empty() ? first[samples / 2] = output : first[samples / 2];
    EXPECT_LE(std::inner_product(output.begin(), output.end(), other.begin(), 0, std::plus(), std::not_equal_to()), 1);

    output.assign(9000, 0);
    EXPECT_EQ(ProcessJFIF_JPG(image, output.data(), &n, asked), 0u);
    output.resize(n);
    EXPECT_TRUE(output == content_of(names.kJfif) && same(zel::jfif_in_memory(image, asked), output));
    EXPECT_EQ(jfif_facts(output, decoded),
              (std::array{grey ? 1 : 3, grey ? 1 : 3, 1, 200, 300, static_cast<int>(step)}));
    EXPECT_EQ(decoded, source);
  }
}

TEST_F(Writers, plain_tiffs) {
  for (const unsigned samples : {1u, 3u}) {
    const Bytes source = noise(35 * samples, 3);
    Bytes tiff = device_tiff(7, 5, samples, source).bytes(), output(9000), decoded;
    char text[] = "of the day", model[] = "m", empty[] = "", maker[] = "Varnoke Industries, Inc";
    const std::string kind = samples == 1 ? "0 7 5 5 8 1 1 1 1 1 2 " : "0 7 5 5 8 1 2 1 3 1 2 ";
    EXPECT_EQ(ZelIMPSaveMICR(tiff.data(), 0, output.data(), 0, text), 0u);
    EXPECT_EQ(tags_of(output, decoded), kind + "200.0 200.0 Varnoke Industries, Inc|T 7200|of the day|firmware 1.2|");
    EXPECT_EQ(decoded, source);
    // Whatever size a 1-bit scan says it has takes no memory; a row that i386 cannot count is refused on both.
    for (const unsigned width : {0x7fffffffu, 0x80000000u}) {
      Bytes bits = device_tiff(7, 1, 1, {9}).set(258, 3, shorts({1})).set(256, 4, longs({width})).bytes();
      EXPECT_EQ(ZelIMPSaveMICR(bits.data(), 0, output.data(), 0, text), width >> 31 == 0 ? 0u : 5u);
    }
    unsigned char* const pixels = &tiff[tiff.size() - source.size()];
    EXPECT_EQ(ZelIMPProcessRaw_TIFF(pixels, 7, 5, 14 + samples, 99.5, model, empty, nullptr, output.data()), 0u);
    EXPECT_EQ(tags_of(output, decoded), kind + "99.50 99.50 Varnoke Industries, Inc|m||-|");
    EXPECT_EQ(decoded, source);
    const zel::PlainTiff f = {pixels, source.size(), 7, 5, samples, 99.5, 99.5, maker, model, empty, nullptr};
    EXPECT_TRUE(same(zel::plain_tiff_in_memory(f), content_of(names.kTiff)));
    EXPECT_EQ(ZelIMPProcessRaw_TIFF(pixels, 7, 5, samples * 8, -1, nullptr, nullptr, nullptr, output.data()), 0u);
    EXPECT_EQ(tags_of(output, decoded), kind + "- - Varnoke Industries, Inc|-|-|-|");
  }
}

// Every writer, one status each.
static std::string statuses(unsigned width = 20, unsigned height = 10, int raw_width = 20, int raw_height = 10) {
  Bytes tiff = device_tiff(width, height, 1, Bytes(66000)).bytes();
  static unsigned char out[200000];
  LoadedImage image(tiff);
  unsigned n = 0, all = ProcessTIFF_JPG(image, out, &n, 0) * 1000 + ProcessJFIF_JPG(image, out, &n, 0) * 100;
  all += ZelIMPSaveMICR(tiff.data(), 0, out, 0, nullptr) * 10;
  all += ZelIMPProcessRaw_TIFF(tiff.data(), raw_width, raw_height, 8, 1, nullptr, nullptr, nullptr, out);
  return std::to_string(all);
}

// Ends a process that may write 100 bytes to a file and no more: with 0 when it lived, its signals as they were.
static void write_beyond_a_file_size_limit() {
  const rlimit limit = {100, 100};
  setrlimit(RLIMIT_FSIZE, &limit);
  sigset_t pending, blocked;
  const bool refused = statuses() == "5555";
  sigpending(&pending), pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
  _exit(refused && !sigismember(&pending, SIGXFSZ) && !sigismember(&blocked, SIGXFSZ) ? 0 : 1);
}

TEST_F(Writers, leave_alone_what_is_not_theirs) {
  const std::string target = testing::TempDir() + "writers_target." + std::to_string(getpid());
  const auto open_files = [] { return std::ranges::distance(std::filesystem::directory_iterator("/proc/self/fd")); };
  const auto before = open_files();
  testing::internal::CaptureStdout(), testing::internal::CaptureStderr();
  for (int obstacle = geteuid() == 0 ? 0 : 1; obstacle < 5; ++obstacle) {
    for (const char* name : {names.kTiff, names.kJfif}) {
      std::ofstream(obstacle == 0 ? name : target) << "kept";
      ASSERT_EQ(obstacle == 0   ? chown(name, 1, 1)
                : obstacle == 1 ? symlink(target.c_str(), name)
                : obstacle == 2 ? link(target.c_str(), name)
                : obstacle == 3 ? mkfifo(name, 0600)
                                : mkdir(name, 0700),
                0);
    }
    EXPECT_EQ(statuses(), "5555") << obstacle;
    EXPECT_EQ(content_of(obstacle == 0 ? names.kTiff : target), ascii("kept")) << obstacle;
    for (const std::string& name : {std::string(names.kTiff), std::string(names.kJfif), target})
      std::filesystem::remove(name);
  }
  EXPECT_EQ(statuses(), "0");
  EXPECT_EQ(statuses(65500, 1, 0, 5), "5");  // the most that libjpeg takes
  EXPECT_EQ(statuses(65501, 1, 5, -5), "5505");
  EXPECT_EQ(statuses(1, 65501, 46341, 46341), "5505");
  EXPECT_EQ(statuses(661, 100, 1 << 30, 2), "5515");  // fewer bytes than pixels
  EXPECT_FALSE(zel::jfif_in_memory(TiffImage(), 0) || zel::jpeg_tiff_in_memory(TiffImage(), 0));
  EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(open_files(), before);
  EXPECT_EXIT(write_beyond_a_file_size_limit(), testing::ExitedWithCode(0), "^$");
}
