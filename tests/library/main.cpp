#include "checks.hpp"

#include <exception>
#include <string_view>

namespace {

const char usage[] = "usage: library_checks LIBRARY frame [CODE]\n"
                     "       library_checks LIBRARY values|golden|print-golden FACTS\n"
                     "CODE is the build's processor code, px unless told; FACTS the folder of the\n"
                     "families' facts, families\n";

bool run(const loader::Library& library, std::string_view what, const std::string& data) {
  checks::Results results;
  if (what == "frame") {
    checks::checkFrame(library, data.empty() ? "px" : data, results);
  } else if (what == "values") {
    checks::checkValues(library, data, results);
  } else if (what == "golden") {
    checks::checkGolden(library, data, results);
  } else if (what == "print-golden") {
    checks::printGolden(library, data);
    return true;
  } else {
    std::cerr << usage;
    return false;
  }
  return results.report();
}

} // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::cerr << usage;
    return 2;
  }
  try {
    const loader::Library library(argv[1]);
    return run(library, argv[2], argc > 3 ? argv[3] : "") ? 0 : 1;
  } catch (const std::exception& error) {
    std::cerr << "library_checks: " << error.what() << '\n';
    return 2;
  }
}
