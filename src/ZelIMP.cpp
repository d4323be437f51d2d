// Module ZelIMP: the pipeline's entry point and the crop parameters.

#include <ZelIMP/CropParam.h>
#include <ZelIMP/ManageTIFF.h>
#include <ZelIMP/ZelIMP_pipeline.h>
#include <ZelIMP/ZelIMP_writers.h>

#include <optional>

#include "TiffImage.hpp"
#include "ZelIMP_mono.hpp"
#include "ZelIMP_pipeline.hpp"

CROP_PARAM m_CropParam;

unsigned int ZelIMPSetCropParams(int leftMargin, int rightMargin, int edgeThreshold, int edgeRowDistance, int maxLength,
                                 int auxLimit, int auxFlag) {
  const auto or_default = [](int value, int fallback) { return value == 0 ? fallback : value; };
  m_CropParam.leftMargin = leftMargin;
  m_CropParam.rightMargin = or_default(rightMargin, 10);
  m_CropParam.edgeThreshold = or_default(edgeThreshold, 700);
  m_CropParam.edgeRowDistance = or_default(edgeRowDistance, 150);
  m_CropParam.maxLength = or_default(maxLength, 700);
  m_CropParam.auxLimit = or_default(auxLimit, 5120);
  m_CropParam.auxFlag = auxFlag;
  return ZELIMP_OK;
}

unsigned int ZelIMPSetCropWindow(int window0, int window1, int window2, int window3) {
  m_CropParam.window0 = window0;
  m_CropParam.window1 = window1;
  m_CropParam.window2 = window2;
  m_CropParam.window3 = window3;
  return ZELIMP_OK;
}

namespace {

// Loads the scan and decides whether the pipeline takes it. kind is set when it does.
zel::Outcome load_scan(TiffImage& image, unsigned char* tiff, std::optional<zel::Kind>& kind) {
  if (image.load(tiff) != 0) return zel::Outcome::not_loaded;
  kind = zel::supported_kind(image);
  if (!kind) return zel::Outcome::unsupported;
  return zel::has_whole_strip(image, *kind, image.imageSize) ? zel::Outcome::ok : zel::Outcome::not_loaded;
}

unsigned int write_file(TiffImage& image, zel::FileForm form, int level, unsigned char* output,
                        unsigned int* output_size) {
  switch (form) {
    case zel::FileForm::jpeg_tiff:
      return ProcessTIFF_JPG(image, output, output_size, static_cast<unsigned int>(level));
    case zel::FileForm::jfif:
      return ProcessJFIF_JPG(image, output, output_size, static_cast<unsigned int>(level));
    case zel::FileForm::bitmap:
      return ProcessTIFF_to_BMP(image, output, output_size, static_cast<unsigned int>(level));
    case zel::FileForm::tiff:
      break;
  }
  image.save(output);
  *output_size = image.GetTiffSize();
  return ZELIMP_OK;
}

}  // namespace

unsigned int ZelIMPImageProc(unsigned char* tiff, unsigned char* output, unsigned int* outputSize, int format, int side,
                             int crop, int rotation, int thresholdMode, int level, int deskew, double* skewAngle) {
  zel::LocalImage image;
  std::optional<zel::Kind> kind;
  zel::Outcome outcome = load_scan(image, tiff, kind);
  if (outcome != zel::Outcome::not_loaded) *skewAngle = 0.0;
  if (outcome == zel::Outcome::ok && !zel::has_format(*kind, format)) outcome = zel::Outcome::no_such_format;
  if (outcome != zel::Outcome::ok) return zel::status_code(outcome);

  zel::PipelineRequest request;
  request.format = format;
  request.side = side;
  request.crop = crop;
  request.rotation = rotation;
  request.threshold_mode = thresholdMode;
  request.level = level;
  request.deskew = deskew;
  request.row_sums = zel::exported_row_sums();
  request.crop_params = &m_CropParam;
  zel::PipelineRun run(image, *kind, request);
  run.run();
  *skewAngle = run.findings().reported_skew;
  return write_file(image, zel::file_form(*kind, format), level, output, outputSize);
}
