// What the steps of process make of a scan, as PNG files to look at. Every step has a name of its own, whose number
// tells when it happens; steps that are not taken leave theirs out.
#pragma once

#include <ZelIMP.hpp>
#include <string>
#include <vector>

#include "io.hpp"
#include "picture.hpp"

namespace tool {

class StepPictures {
 public:
  // Throws Failure when there is something else under the folder's name.
  explicit StepPictures(const std::string& folder);

  // What check_targets has to see: the files of all steps, or the folder where it is missing.
  std::vector<std::string> targets() const;
  // The folder where it is missing, else empty.
  const std::string& new_folder() const { return new_folder_; }

  void add_raw(const Bytes& read_out);
  // scan is what process_scan gets together with how, whose observer is set here. scan and this object must outlive
  // the call, after which finish takes its report and the result as PNG.
  void watch(const Bytes& scan, zelimp::ProcessOptions& how);
  void finish(const zelimp::ProcessReport& report, const Bytes& result_png);

  // The files.
  std::vector<Output> take() { return std::move(files_); }
  // After outputs have been written: removes pictures of other steps, which an earlier run left.
  void remove_others(const std::vector<Output>& outputs) const;

 private:
  enum class View : int;
  std::vector<std::string> all_files() const;
  void add(View view, Bytes png);
  void see(zelimp::Step step, const zelimp::StepImage& image);

  std::string folder_, new_folder_;
  std::vector<Output> files_;
  zelimp::StepImage scan_;  // points into the scan
  Picture deskewed_;        // grey, when a face is cut out of it
  bool colour_ = false;
  bool flips_ = false;  // the next turn is that of one face
  bool cuts_ = false;
};

}  // namespace tool
