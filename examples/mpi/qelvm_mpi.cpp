// Applies an export to a raw file with the processes of an MPI program:
//   mpirun -n 4 qelvm_mpi Exp_64f_A53 --input x.f64 --output y.f64
// The output has the bits that `qelvm apply --format raw` writes, whatever the number of processes
// and whichever processors they run on.
//
// Each process reads, computes and writes its own stretch of elements, block by block, through
// MPI-IO. A status is that of the last reported element, as of one call on the whole file. The
// output appears under its name when all of it is on the disk; after an error it is as it was. A
// failure of any process is told by the first process alone, in one line, and ends all with exit
// status 2.
#include "apps/qelvm/commands.hpp"
#include "apps/qelvm/error.hpp"
#include "apps/qelvm/number_text.hpp"
#include "loader/loader.hpp"

#include <CLI/CLI.hpp>
#include <mpi.h>

#include <algorithm>
#include <bit>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

static_assert(std::endian::native == std::endian::little, "raw files are little-endian");

namespace {

using tool::Error;

struct Options {
  std::string name, input, output, library = loader::Library::defaultName();
  std::optional<std::string> second, secondInput, scalar;
  int block = 1 << 16;
};

/// The communicator of all processes, and this one's place in it.
struct Processes {
  int rank = 0, count = 1;
  Processes() {
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    MPI_Comm_size(MPI_COMM_WORLD, &count);
  }

  /// The text of one process, on all of them.
  std::string fromRank(int source, std::string text) const {
    auto length = static_cast<int>(text.size());
    MPI_Bcast(&length, 1, MPI_INT, source, MPI_COMM_WORLD);
    text.resize(static_cast<std::size_t>(length));
    MPI_Bcast(text.data(), length, MPI_CHAR, source, MPI_COMM_WORLD);
    return text;
  }

  /// Does a step on this process; then, where any process failed, throws the error of the lowest
  /// one on all: none is left waiting for another.
  template <class Step>
  void together(Step&& step) const {
    std::string failure;
    int failed = count;
    try {
      step();
    } catch (const std::exception& error) {
      failure = error.what();
      failed = rank;
    }
    int first;
    MPI_Allreduce(&failed, &first, 1, MPI_INT, MPI_MIN, MPI_COMM_WORLD);
    if (first < count)
      throw Error("{}", fromRank(first, failure));
  }
};

void check(int outcome, const std::string& path, const char* what) {
  if (outcome == MPI_SUCCESS)
    return;
  char reason[MPI_MAX_ERROR_STRING];
  int length = 0;
  MPI_Error_string(outcome, reason, &length);
  throw Error("{}: cannot {}: {}", path, what,
              std::string_view(reason, static_cast<std::size_t>(length)));
}

/// A file that all processes have open. Opened and closed by all together.
class File {
public:
  File(const Processes& processes, const std::string& path, int mode) : path_(path) {
    int outcome = MPI_SUCCESS;
    processes.together([&] {
      outcome = MPI_File_open(MPI_COMM_WORLD, path.c_str(), mode, MPI_INFO_NULL, &handle_);
      check(outcome, path, mode & MPI_MODE_RDONLY ? "read" : "write");
    });
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() {
    if (handle_ != MPI_FILE_NULL)
      MPI_File_close(&handle_);
  }

  /// The number of elements, of `width` bytes each.
  MPI_Offset elements(MPI_Offset width) const {
    MPI_Offset size = 0;
    check(MPI_File_get_size(handle_, &size), path_, "read");
    if (size % width != 0)
      throw Error("{}: {} bytes are no whole number of elements of {}", path_, size, width);
    return size / width;
  }

  template <class T>
  void read(MPI_Offset first, std::vector<T>& values, int count) const {
    MPI_Status status;
    int got = 0;
    check(MPI_File_read_at(handle_, first * bytes<T>, values.data(), count, type<T>(), &status),
          path_, "read");
    MPI_Get_count(&status, type<T>(), &got);
    if (got != count)
      throw Error("{}: ended while it was read", path_);
  }

  template <class T>
  void write(MPI_Offset first, const std::vector<T>& values, int count) const {
    MPI_Status status;
    int put = 0;
    check(MPI_File_write_at(handle_, first * bytes<T>, values.data(), count, type<T>(), &status),
          path_, "write");
    MPI_Get_count(&status, type<T>(), &put);
    if (put != count)
      throw Error("{}: cannot write: is the disk full?", path_);
  }

  void sync() const { check(MPI_File_sync(handle_), path_, "write"); }

private:
  template <class T>
  static constexpr MPI_Offset bytes = sizeof(T);
  template <class T>
  static MPI_Datatype type() {
    return sizeof(T) == sizeof(float) ? MPI_FLOAT : MPI_DOUBLE;
  }

  std::string path_;
  MPI_File handle_ = MPI_FILE_NULL;
};

/// Computes the elements from `first` to before `last`. Returns the status of the last reported
/// one.
template <class T>
QelStatus compute(const Options& options, const loader::Export& e, const loader::Function& function,
                  const File& input, const File* second, const File& output, MPI_Offset first,
                  MPI_Offset last) {
  const auto size = static_cast<std::size_t>(options.block);
  const auto results = static_cast<std::size_t>(e.destinations());
  std::vector<T> x(size), x2, y(size), y2, both;
  loader::Operands<T> operands;
  operands.source = x.data();
  operands.destination = y.data();
  if (e.sources() == 2) {
    x2.resize(size);
    if (options.second)
      std::fill(x2.begin(), x2.end(),
                tool::numberAt<T>(*options.second, [] { return "--second"; }));
    operands.secondSource = x2.data();
  }
  if (options.scalar)
    operands.scalar = tool::numberAt<T>(*options.scalar, [] { return "--scalar"; });
  if (results == 2) {
    y2.resize(size);
    both.resize(2 * size);
    operands.secondDestination = y2.data();
  }
  QelStatus reported = qelStatusOk;
  while (first < last) {
    const int count = static_cast<int>(std::min<MPI_Offset>(options.block, last - first));
    input.read(first, x, count);
    if (second != nullptr)
      second->read(first, x2, count);
    const QelStatus status = function(operands, count);
    if (status < 0)
      throw Error("{}: {}", e.name, loader::statusName(status));
    if (status != qelStatusOk)
      reported = status;
    if (results == 1) {
      output.write(first, y, count);
    } else { // two results of an element stand side by side
      for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        both[2 * i] = y[i];
        both[2 * i + 1] = y2[i];
      }
      output.write(2 * first, both, 2 * count);
    }
    first += count;
  }
  return reported;
}

/// The file that takes the output's place: of a symbolic link the file that it leads to.
std::filesystem::path destinationOf(const Options& options) {
  namespace fs = std::filesystem;
  for (const auto& source : {std::optional(options.input), options.secondInput}) {
    std::error_code none;
    if (source && fs::equivalent(*source, options.output, none))
      throw Error("{}: is the input, too", options.output);
  }
  const auto status = fs::status(options.output);
  if (fs::exists(status) && !fs::is_regular_file(status))
    throw Error("{}: is not a regular file", options.output);
  if (fs::is_symlink(fs::symlink_status(options.output)))
    return fs::canonical(options.output);
  return options.output;
}

/// Returns the line that reports the run, on the first process.
template <class T>
std::string apply(const Processes& processes, const Options& options, const loader::Export& e) {
  namespace fs = std::filesystem;
  std::optional<loader::Library> library;
  processes.together([&] {
    library.emplace(options.library);
    library->function(e);
  });
  const File input(processes, options.input, MPI_MODE_RDONLY);
  std::optional<File> second;
  if (options.secondInput)
    second.emplace(processes, *options.secondInput, MPI_MODE_RDONLY);
  MPI_Offset n = 0;
  processes.together([&] {
    n = input.elements(sizeof(T));
    if (second && second->elements(sizeof(T)) != n)
      throw Error("{} and {} do not have as many elements", options.input, *options.secondInput);
  });

  fs::path destination;
  std::string temporary;
  processes.together([&] {
    if (processes.rank != 0)
      return;
    destination = destinationOf(options);
    temporary = destination.parent_path() / fmt::format(".qelvm-mpi-{}", getpid());
  });
  temporary = processes.fromRank(0, temporary);
  QelStatus status = qelStatusOk;
  std::optional<File> output(std::in_place, processes, temporary,
                             MPI_MODE_CREATE | MPI_MODE_EXCL | MPI_MODE_WRONLY);
  try {
    const MPI_Offset share = n / processes.count, more = n % processes.count;
    const auto begin = [&](MPI_Offset rank) { return rank * share + std::min(rank, more); };
    processes.together([&] {
      status = compute<T>(options, e, library->function(e), input, second ? &*second : nullptr,
                          *output, begin(processes.rank), begin(processes.rank + 1));
    });
    processes.together([&] { output->sync(); });
    output.reset();
    processes.together([&] {
      if (processes.rank == 0)
        fs::rename(temporary, destination);
    });
  } catch (...) {
    output.reset();
    std::error_code none;
    if (processes.rank == 0)
      fs::remove(temporary, none);
    throw;
  }

  // The last process that has one has the last reported element.
  const int mine[] = {status != qelStatusOk ? processes.rank : -1, status};
  int last[2];
  MPI_Reduce(mine, last, 1, MPI_2INT, MPI_MAXLOC, 0, MPI_COMM_WORLD);
  return fmt::format("{} of {} elements by {} processes: {}", e.name, n, processes.count,
                     loader::statusName(last[1]));
}

/// Null where only the help was asked for.
const loader::Export* readOptions(int count, char** arguments, Options& options,
                                  std::string& help) {
  CLI::App app(
      "Applies an export to the elements of a raw file, with all processes of the program.");
  app.add_option("EXPORT", options.name, "as in `qelvm list`")->required();
  app.add_option("--input", options.input, "raw file of its elements")->required();
  app.add_option("--output", options.output, "raw file of the results; two of an element alternate")
      ->required();
  auto* const second =
      app.add_option("--second", options.second, "a number: the second source of all");
  app.add_option("--second-input", options.secondInput, "raw file of the second source")
      ->excludes(second);
  app.add_option("--scalar", options.scalar, "for an export that takes one");
  app.add_option("--block", options.block, "elements of one call and of one access to a file")
      ->check(CLI::Range(1, 1 << 28));
  app.add_option("--library", options.library, "the build of the library to load");
  try {
    app.parse(count, arguments);
  } catch (const CLI::CallForHelp&) {
    help = app.help();
    return nullptr;
  } catch (const CLI::ParseError& error) {
    throw Error("{}", error.what());
  }
  const loader::Export& e = tool::exportNamed(options.name);
  tool::checkOperands(e, options.second || options.secondInput, options.scalar.has_value());
  return &e;
}

} // namespace

int main(int count, char** arguments) {
  MPI_Init(&count, &arguments);
  int exitStatus = 0;
  {
    const Processes processes;
    try {
      Options options;
      std::string report;
      const loader::Export* e = nullptr;
      processes.together([&] { e = readOptions(count, arguments, options, report); });
      if (e != nullptr)
        report = (e->single ? apply<float> : apply<double>)(processes, options, *e);
      if (processes.rank == 0)
        std::printf("%s\n", report.c_str());
    } catch (const std::exception& error) {
      if (processes.rank == 0)
        std::fprintf(stderr, "qelvm_mpi: %s\n", tool::printable(error.what()).c_str());
      exitStatus = 2;
    }
  }
  MPI_Finalize();
  return exitStatus;
}
