// The TIFF file in which the device delivers a read-out.
#pragma once

#include <cstdint>
#include <string>

#include "device_model.hpp"
#include "io.hpp"

namespace tool {

// Texts that the device puts into its files; an empty one is left out.
struct DeviceTexts {
  std::string make = "Varnoke Industries, Inc";  // by which the library knows the device
  std::string model = "zelimp simulate";
  std::string description = "Simulated read-out";
  std::string software = "zelimp";
};

Bytes device_tiff(const ReadOut& read_out, std::uint32_t dpi, const DeviceTexts& texts);

}  // namespace tool
