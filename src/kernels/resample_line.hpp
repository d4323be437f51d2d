// Which source samples a destination position is made of, and with which weights.
#pragma once

#include <cstddef>
#include <vector>

#include "kernels/resample.hpp"

namespace zel::kern {

// One destination position: count source positions from first on.
struct ResampleTaps {
  std::size_t first;
  std::size_t count;
  const double* weights;  // count of them; 0 may stand between others
  double sum;             // of the weights, from the first to the last
  bool average;           // all weights are 1, and no sum of samples leaves 31 bits
};

// The positions of one direction of an image, made piece by piece.
class ResampleLine {
 public:
  // piece: the most positions asked for at once.
  ResampleLine(std::size_t from_length, std::size_t to_length, std::size_t piece, const ResampleFilter& filter);

  // Positions begin to end - 1. They are valid until the next call.
  const std::vector<ResampleTaps>& taps(std::size_t begin, std::size_t end);

 private:
  ResampleTaps position(std::size_t i);

  ResampleFilter filter_;
  std::size_t from_length_;
  double scale_;
  double reach_;   // source pixels to either side
  double factor_;  // of distances
  std::vector<ResampleTaps> taps_;
  std::vector<double> weights_;  // never grows beyond what the constructor reserved
};

}  // namespace zel::kern
