// The command line of qelvm.
#include "commands.hpp"
#include "error.hpp"
#include "files.hpp"
#include "number_text.hpp"
#include "output.hpp"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <filesystem>
#include <sstream>

namespace tool {
namespace {

struct Options {
  std::optional<std::string> libraryPath;
  bool strict = false;
  bool version = false;
  ListOptions list;
  EvalOptions eval;
  ApplyOptions apply;
};

struct Commands {
  CLI::App app{"Vector elementary functions for numbers from arguments, files and pipes."};
  CLI::App* list;
  CLI::App* eval;
  CLI::App* apply;
};

constexpr auto examples = R"(Examples:
  qelvm list exp
  qelvm eval Exp_64f_A53 1 -800 0x1p-3 nan
  seq 1 10 | qelvm apply Exp_64f_A53
`qelvm COMMAND --help` has more.

Exit status: 0; 1 when --strict was given and a warning status was returned or a row was
bad; 2 on an error.)";

constexpr auto listExamples = R"(Examples:
  qelvm list              every export
  qelvm list exp          those with "exp" in their names, in upper or lower case
  qelvm list 'exp*a5?'    * stands for any text, ? for any character
  qelvm list --errors     what is known of errors: proven, observed, with the input
  qelvm list --json       for programs

A bound is proven from the text of the function; "partly" for some results only, which --errors tells;
"tried" where all 2^32 floats have been computed; else (-) it has been observed and never exceeded.)";

constexpr auto evalExamples =
    R"(Prints a row for each element: the source, the result in shortest decimal and in hexadecimal, the
status that the element alone reports; then the status of the call on all of them and the
floating-point exception flags that it raised.

A number is decimal (-1.5e-3), hexadecimal (0x1.8p4), inf or nan.

Examples:
  qelvm eval Exp_64f_A53 1 -800 0x1p-3 nan
  qelvm eval Exp_32f_A24 1,2,-3
  qelvm eval Div_64f_A50 1,2 --second 0,3      1/0 and 2/3
  qelvm eval Div_64f_A50 1 2 3 --second 7      one second value serves all elements
  qelvm eval Powx_64f_A50 2 3 4 --scalar 0.5)";

constexpr auto applyExamples = R"(Formats:
  text  one number a line; the default. Two results stand on one line with a space between.
  csv   a header line (but for --no-header), then records, as RFC 4180 has them; chosen by --column
        too. Every byte of the input is kept and the result appended as a new last column.
  raw   little-endian float or double elements; two results alternate.

Elements that overflowed, underflowed, hit a pole or left the domain are counted on standard error.
A row that is not a number ends the work, or is left out (--bad-rows skip), or has nan, in CSV an
empty field, for a result (mark); then such rows are counted, too.
An output file is replaced when all is done, and not at all after an error.

Examples:
  qelvm apply Exp_64f_A53 --input x.txt --output y.txt
  seq 1 10 | qelvm apply Inv_64f_A50
  qelvm apply Exp_64f_A53 --input data.csv --column t --result-column growth --output out.csv
  qelvm apply Div_64f_A50 --input data.csv --column mass --second-column volume
  qelvm apply Ln_64f_A53 --input data.csv --no-header --column 2 --bad-rows mark
  qelvm apply Div_64f_A50 --input x.txt --second 3
  qelvm apply Div_64f_A50 --input x.txt --second-input y.txt
  qelvm apply Exp_32f_A24 --format raw --input samples.f32 --in-place)";

CLI::App* addCommand(CLI::App& app, const char* name, const char* description, const char* footer,
                     Options& options) {
  CLI::App* command = app.add_subcommand(name, description);
  command->footer(footer);
  command->add_option("--library", options.libraryPath, "Another build of the library")
      ->type_name("PATH");
  return command;
}

void addExport(CLI::App* command, std::string& name, Options& options) {
  command->add_option("EXPORT", name, "Such as Exp_64f_A53; `qelvm list` shows all")
      ->required()
      ->type_name("");
  command->add_flag("--strict", options.strict, "Exit with 1 after a warning status or a bad row");
}

void addScalar(CLI::App* command, std::optional<std::string>& scalar) {
  command->add_option("--scalar", scalar, "The scalar of an export that takes one")
      ->type_name("VALUE");
}

CLI::App* addList(CLI::App& app, Options& options) {
  CLI::App* list = addCommand(app, "list", "Show exports, their error bounds and statuses",
                              listExamples, options);
  list->add_option("PATTERN", options.list.pattern, "Part of a name, case ignored; * and ? allowed")
      ->type_name("");
  const auto errors = list->add_flag("--errors", options.list.errors,
                                     "Bounds, proven and largest observed errors instead");
  list->add_flag("--json", options.list.json, "An array of objects for programs")->excludes(errors);
  return list;
}

CLI::App* addEval(CLI::App& app, Options& options) {
  CLI::App* eval = addCommand(app, "eval", "Compute a few elements and show all about them",
                              evalExamples, options);
  addExport(eval, options.eval.exportName, options);
  eval->add_option("VALUES", options.eval.values, "Numbers, as arguments or parted by commas")
      ->required()
      ->type_name("");
  eval->add_option("--second", options.eval.second, "The second source, parted by commas")
      ->type_name("VALUES");
  addScalar(eval, options.eval.scalar);
  return eval;
}

CLI::App* addApply(CLI::App& app, Options& options) {
  ApplyOptions& apply = options.apply;
  CLI::App* command = addCommand(app, "apply", "Compute any number of elements from a file or pipe",
                                 applyExamples, options);
  addExport(command, apply.exportName, options);
  const auto add = [&](const char* name, auto& value, const char* type, const char* description) {
    return command->add_option(name, value, description)->type_name(type);
  };
  add("-i,--input", apply.input, "FILE", "Where elements come from; -, the default, is stdin");
  add("-o,--output", apply.output, "FILE", "Where results go; -, the default, is stdout");
  add("--format", apply.format, "text|csv|raw", "Of input and output")
      ->check(CLI::IsMember({"text", "csv", "raw"}).description(""));
  add("--column", apply.column, "NAME|NUMBER",
      "CSV: the column of the source; numbers count from 1");
  add("--result-column", apply.resultColumns, "NAME",
      "CSV: the name of the new column; twice for an export with two results")
      ->expected(1)
      ->take_all();
  add("--delimiter", apply.delimiter, "CHAR", "CSV: what parts fields instead of a comma; or tab");
  command->add_flag("--no-header", apply.noHeader, "CSV: the first line is a record like others");
  add("--bad-rows", apply.badRows, "stop|skip|mark",
      "What becomes of a row that is not a number; stop is the default")
      ->check(CLI::IsMember({"stop", "skip", "mark"}).description(""));
  const auto second = add("--second", apply.second, "VALUE", "The second source: one for all");
  const auto column =
      add("--second-column", apply.secondColumn, "NAME|NUMBER", "CSV: the second source's column");
  const auto input = add("--second-input", apply.secondInput, "FILE",
                         "The second source: a file of as many elements, of the same format");
  second->excludes(column)->excludes(input);
  addScalar(command, apply.scalar);
  command->add_flag("--in-place", apply.inPlace, "Replace the input file by the output");
  return command;
}

void describe(Commands& commands, Options& options) {
  CLI::App& app = commands.app;
  app.name("qelvm");
  app.footer(examples);
  app.require_subcommand(0, 1);
  app.add_option("--library", options.libraryPath, "Another build of the library")
      ->type_name("PATH");
  app.add_flag("--version", options.version, "Show the versions of the tool and of the library");
  commands.list = addList(app, options);
  commands.eval = addEval(app, options);
  commands.apply = addApply(app, options);
}

bool isNumberList(std::string_view text) {
  double value;
  for (;;) {
    const std::size_t comma = text.find(',');
    if (readNumber(text.substr(0, comma), value) == Reading::NotANumber)
      return false;
    if (comma == std::string_view::npos)
      return true;
    text.remove_prefix(comma + 1);
  }
}

/// The arguments, last first, as CLI11 wants them. It takes -inf and -.5 for options; with a blank
/// before, which numbers may have, they are values, with or without "--" before them.
std::vector<std::string> argumentList(const std::vector<std::string>& arguments) {
  std::vector<std::string> list;
  bool inEval = false;
  for (const std::string& argument : arguments) {
    if (inEval && argument == "--")
      continue;
    const bool protect = inEval && argument.starts_with('-') && isNumberList(argument);
    list.push_back(fmt::format("{}{}", protect ? " " : "", argument));
    inEval = inEval || argument == "eval";
  }
  return {list.rbegin(), list.rend()};
}

/// A name without a folder means a file here, if there is one, before any library of that name; but
/// only a name that was given.
std::string loadable(const std::optional<std::string>& name) {
  if (!name)
    return loader::Library::defaultName();
  const std::filesystem::path path = files::pathOf(*name);
  std::error_code none;
  return !path.has_parent_path() && std::filesystem::exists(path, none) ? "./" + *name : *name;
}

std::string versions(const loader::Library& library) {
  const QelLibVersion& v = library.version();
  const std::string cpu = loader::cpuCode(v);
  return fmt::format("qelvm {}\n"
                     "library: {}\n"
                     "compiled for: {}, {}\n"
                     "its version record: {} {}, version {}.{}, build {}.{}, {}, {}\n"
                     "(The date is a fixed part of the record, not that of this build.)\n",
                     QELVM_TOOL_VERSION, printable(library.file()), printable(cpu),
                     loader::processorName(v), v.libraryFile, v.versionText, v.versionMajor,
                     v.versionMinor, v.buildMajor, v.buildNumber, cpu, v.buildDateText);
}

bool run(const Commands& commands, const Options& options) {
  const bool isCommand = !commands.app.get_subcommands().empty();
  if (!isCommand && !options.version)
    throw Error("a command is missing: list, eval or apply (see qelvm --help)");
  const loader::Library library(loadable(options.libraryPath));
  if (commands.apply->parsed())
    return apply(library, options.apply);
  Evaluation answer;
  if (options.version)
    answer.text = versions(library);
  else if (commands.list->parsed())
    answer.text = listExports(library, options.list);
  else
    answer = evaluate(library, options.eval);
  Output("-").write(answer.text);
  return answer.warned;
}

int runCommandLine(const std::vector<std::string>& arguments) {
  Options options;
  Commands commands;
  describe(commands, options);
  try {
    commands.app.parse(argumentList(arguments));
  } catch (const CLI::CallForHelp& help) {
    std::ostringstream text;
    commands.app.exit(help, text);
    Output("-").write(text.str());
    return success;
  } catch (const CLI::ParseError& error) {
    const auto chosen = commands.app.get_subcommands();
    throw Error("{} (see qelvm {}--help)", error.what(),
                chosen.empty() ? "" : chosen.front()->get_name() + ' ');
  }
  return run(commands, options) && options.strict ? warned : success;
}

} // namespace
} // namespace tool

int main(int count, char** arguments) {
  tool::files::prepareStandardStreams();
  try {
    return tool::runCommandLine(tool::files::arguments(count, arguments));
  } catch (const tool::ClosedPipe&) {
    return tool::files::endByClosedPipe();
  } catch (const std::exception& error) {
    tool::files::tell(fmt::format("qelvm: {}\n", tool::printable(error.what())));
    return tool::failed;
  }
}
