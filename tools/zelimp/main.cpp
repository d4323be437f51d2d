#include <signal.h>
#include <ZelIMP.hpp>
#include <algorithm>
#include <iostream>
#include <new>

#include "commands.hpp"
#include "exit_code.hpp"

namespace {

// Names of files may have anything in them; the sentence stays one line.
int complain(tool::Exit exit, std::string sentence) {
  std::ranges::replace_if(
      sentence, [](unsigned char c) { return c < ' ' || c == 127; }, '?');
  std::cerr << "zelimp: " << sentence << "\n";
  return static_cast<int>(exit);
}

}  // namespace

int main(int argc, char** argv) {
  // A reader that goes away, or a limit for the size of files, is a write that fails, and ends like any other.
  signal(SIGPIPE, SIG_IGN);
  signal(SIGXFSZ, SIG_IGN);

  CLI::App program(
      "Scans of the document and cheque scanner: simulate, inspect, descramble, process, resample, wrap, read "
      "micro-holes and banknotes, train fonts.",
      "zelimp");
  program.set_version_flag("--version", std::string("zelimp ") + zelimp::version());
  program.require_subcommand(1);
  tool::add_simulate(program);
  tool::add_info(program);
  tool::add_descramble(program);
  tool::add_process(program);
  tool::add_resample(program);
  tool::add_wrap(program);
  tool::add_describe(program);
  tool::add_font(program);
  tool::add_holes(program);
  tool::add_banknote(program);
  tool::add_note(program);
  program.footer(
      "Example, from two pictures to the front face as Group 4 TIFF:\n"
      "  zelimp simulate front.png rear.png -o raw.tif --lag 8\n"
      "  zelimp descramble raw.tif -o scan.tif --lag 8\n"
      "  zelimp process scan.tif -o front.tif --side front\n"
      "\n"
      "- as a file name is standard input or output. Existing files are replaced only with --force. When a command\n"
      "fails, one sentence goes to standard error and no output is left.\n"
      "\n"
      "Exit codes:\n"
      "  0  success\n"
      "  1  the input is not a scan, or it is damaged\n"
      "  2  the options are wrong\n"
      "  3  this kind of input is not supported\n"
      "  4  the output format is not available for this input\n"
      "  5  a file could not be read or written\n"
      "  6  the input is larger than the limits\n"
      "  7  out of memory, or an internal fault\n"
      "  8  holes, banknote: nothing was read; the report is written all the same\n");

  try {
    program.parse(argc, argv);
    return static_cast<int>(tool::Exit::success);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) return complain(tool::Exit::usage, error.what() + std::string(" (see --help)"));
    program.exit(error);  // prints help or version
    if (!std::cout.flush()) return complain(tool::Exit::file, "standard output: cannot be written");
    return static_cast<int>(tool::Exit::success);
  } catch (const tool::Failure& failure) {
    return complain(failure.exit(), failure.what());
  } catch (const std::bad_alloc&) {
    return complain(tool::Exit::internal, "out of memory");
  } catch (const std::exception& error) {
    return complain(tool::Exit::internal, std::string("internal fault: ") + error.what());
  }
}
