// Crop parameters and the platform shim.
#include <filesystem>

#include "support.hpp"
using namespace zel::test;

TEST(Frame, crop_parameters) {
  m_CropParam.cropMode = 42;
  const auto fields = [] { return std::vector<int>(&m_CropParam.cropMode, &m_CropParam.cropMode + 12); };
  EXPECT_EQ(ZelIMPSetCropWindow(1, -2, 3, 4) + ZelIMPSetCropParams(0, 0, 0, 0, 0, 0, 0), 0u);
  EXPECT_EQ(fields(), (std::vector{42, 1, -2, 3, 4, 5120, 0, 0, 10, 700, 150, 700}));
  ZelIMPSetCropParams(5, 20, 300, 100, 900, 4000, 1);
  EXPECT_EQ(fields(), (std::vector{42, 1, -2, 3, 4, 4000, 1, 5, 20, 300, 100, 900}));
}

TEST(Frame, temporary_path_and_debug_log) {
  std::string path(8, '.'), data("a\0b\n", 4), directory = testing::TempDir() + "zelimp-XXXXXX";
  EXPECT_TRUE(GetTempPath(0, path.data()) == 5 && path == std::string("/tmp/\0..", 8)) << path;
  std::filesystem::current_path(mkdtemp(directory.data()));
  xdebug(data.data(), 0), xdebug(data.data(), -5);
  EXPECT_EQ(std::filesystem::file_size("debug.dat"), 0u);
  xdebug(data.data(), 4), OutputDebugString(data.data());
  odprintf("%d %s|", 42, "lines"), odprintf("%s", std::string(5000, 'x').c_str());
  EXPECT_EQ(content_of("debug.dat"), ascii(data + "a42 lines|" + std::string(4095, 'x')));
  std::filesystem::current_path(testing::TempDir());
  std::filesystem::remove_all(directory);
}

TEST(Frame, clock_wraps) {
  const timespec passed = diff({1, 900000000}, {3, 100000000}), none = diff({1, 5}, {1, 5});
  EXPECT_TRUE(passed.tv_sec == 1 && passed.tv_nsec == 200000000 && none.tv_sec == 0 && none.tv_nsec == 0);
  EXPECT_EQ(StartPerformanceMeasure(), 0);
  CounterStart.tv_sec -= 3;  // 3 s and the little that passes meanwhile
  EXPECT_NEAR(GetPerformanceMeasure(), -1294967296.0 + 5e8, 5e8);
}
