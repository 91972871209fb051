#include "loader/loader.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>
#ifndef __wasm__
#include <filesystem>
#endif
#include <map>
#include <stdexcept>

#ifdef _WIN32
#include <windows.h>
#elif !defined(__wasm__)
#include <dlfcn.h>
#endif

namespace loader {
namespace {

struct Family {
  const char* name;
  Shape shape;
  unsigned statuses;
  double bound32, boundA50, boundA53;
};

const Family families[] = {
#define QELVM_FAMILY(name, shape, statuses, bound32, boundA50, boundA53)                           \
  {#name, Shape::shape, statuses, bound32, boundA50, boundA53},
#define QELVM_NOTE(name, text)
#include "families/families.inc"
};

const std::map<std::string, std::string> notes = {
#define QELVM_FAMILY(name, shape, statuses, bound32, boundA50, boundA53)
#define QELVM_NOTE(name, text) {#name, text},
#include "families/families.inc"
};

const std::map<std::string, int> ordinals = {
#define QELVM_ORDINAL(number, name) {#name, number},
#include "families/ordinals.inc"
};

const std::map<std::string, std::string> resultTexts = {
#define QELVM_RESULTS(results, text) {#results, text},
#define QELVM_ERROR(name, results, proven, observed, input)
#include "families/errors.inc"
};

std::optional<double> provenBound(const std::string& text) {
  return text == "-" ? std::nullopt : std::optional(std::strtod(text.c_str(), nullptr));
}

std::vector<Error> errorsOf(const std::string& name) {
  static const std::multimap<std::string, Error> all = {
#define QELVM_RESULTS(results, text)
#define QELVM_ERROR(name, results, proven, observed, input)                                        \
  {#name, {#results, resultTexts.at(#results), provenBound(#proven), observed, input}},
#include "families/errors.inc"
  };
  std::vector<Error> list;
  for (auto [row, end] = all.equal_range(name); row != end; ++row)
    list.push_back(row->second);
  return list;
}

Basis basisOf(const std::vector<Error>& errors, double bound) {
  const auto shown = std::count_if(errors.begin(), errors.end(), [bound](const Error& e) {
    return e.proven && *e.proven <= bound;
  });
  return shown == 0                                           ? Basis::Observed
         : shown < static_cast<std::ptrdiff_t>(errors.size()) ? Basis::Partly
                                                              : Basis::Proven;
}

/// Of floats every argument has been tried, where there is one; of two, their bound follows from
/// that of the kernel, which A53 shares, and one more rounding.
Basis basisOfFloats(const Family& f) {
  if (f.shape == Shape::OneSource || f.shape == Shape::TwoDestinations)
    return Basis::Tried;
  const Basis kernel = basisOf(errorsOf(std::string(f.name) + "_64f_A53"), f.boundA53);
  return kernel == Basis::Proven ? kernel : Basis::Observed;
}

std::vector<Export> listExports() {
  std::vector<Export> list;
  for (const Family& f : families) {
    const auto add = [&](const char* suffix, bool single, double bound) {
      const std::string name = std::string(f.name) + suffix;
      const std::vector<Error> errors = errorsOf(name);
      list.push_back({name, f.name, single, f.shape, f.statuses, bound, ordinals.at("qels" + name),
                      single ? basisOfFloats(f) : basisOf(errors, bound), errors});
    };
    add("_32f_A11", true, f.bound32);
    add("_32f_A21", true, f.bound32);
    add("_32f_A24", true, f.bound32);
    add("_64f_A50", false, f.boundA50);
    add("_64f_A53", false, f.boundA53);
  }
  return list;
}

} // namespace

const std::vector<Export>& exports() {
  static const std::vector<Export> list = listExports();
  return list;
}

std::string boundNote(const std::string& family) {
  const auto found = notes.find(family);
  return found == notes.end() ? "" : found->second;
}

const Export* findExport(std::string_view name) {
  if (name.starts_with("qels"))
    name.remove_prefix(4);
  for (const Export& e : exports())
    if (e.name == name)
      return &e;
  return nullptr;
}

std::string statusName(QelStatus status) {
  switch (status) {
  case qelStatusOk:
    return "qelStatusOk";
  case qelStatusSizeError:
    return "qelStatusSizeError";
  case qelStatusNullPointer:
    return "qelStatusNullPointer";
  case qelStatusOverflow:
    return "qelStatusOverflow";
  case qelStatusUnderflow:
    return "qelStatusUnderflow";
  case qelStatusSingularity:
    return "qelStatusSingularity";
  case qelStatusDomain:
    return "qelStatusDomain";
  default:
    return std::to_string(status);
  }
}

std::string cpuCode(const QelLibVersion& version) {
  // (Four letters would have no zero behind them.)
  const char* const begin = version.cpuCode;
  return {begin, std::find(begin, std::end(version.cpuCode), '\0')};
}

std::string processorName(const QelLibVersion& version) {
  const std::string code = cpuCode(version);
  if (code == "px")
    return "every processor";
  if (code == "v3")
    return "x86-64-v3 (AVX2)";
  if (code == "v4")
    return "x86-64-v4 (AVX-512)";
  if (code == "asd")
    return "aarch64 (Advanced SIMD)";
  if (code == "wsd")
    return "WebAssembly (128-bit registers)";
  return "an unknown processor";
}

namespace {
/// Whether this processor has the instructions of such a build: without them a program would end by
/// a signal. (A file that is named by its path is loaded whatever it is.)
bool canRun([[maybe_unused]] const std::string& code) {
#ifdef __x86_64__
#define HAS __builtin_cpu_supports // only lately of the levels by their names
  if (code == "v3" || code == "v4")
    if (!HAS("avx2") || !HAS("bmi") || !HAS("bmi2") || !HAS("fma"))
      return false;
  if (code == "v4")
    return HAS("avx512f") && HAS("avx512bw") && HAS("avx512cd") && HAS("avx512dq") &&
           HAS("avx512vl");
#undef HAS
#endif
  return true;
}
} // namespace

#ifdef _WIN32

namespace {
/// Searched for where it is a mere name; otherwise in full, since a path that begins here is
/// searched for as well.
std::filesystem::path loadable(const std::string& name) {
  const std::filesystem::path path = std::u8string(name.begin(), name.end());
  return path.has_parent_path() ? std::filesystem::absolute(path).make_preferred() : path;
}
} // namespace

Library::Library(const std::string& path)
    : path_(path), handle_(LoadLibraryW(loadable(path).c_str())) {
  if (handle_ == nullptr)
    throw std::runtime_error("cannot load " + path + ": error " + std::to_string(GetLastError()));
  refuseOtherProcessors();
}
void Library::unload() {
  FreeLibrary(static_cast<HMODULE>(handle_));
}
void* Library::symbol(const std::string& name) const {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name.c_str()));
}
std::string Library::file() const {
  std::array<wchar_t, 32768> path; // none is longer
  const DWORD length = GetModuleFileNameW(static_cast<HMODULE>(handle_), path.data(), path.size());
  const auto text = std::filesystem::path(path.data(), path.data() + length).u8string();
  return {text.begin(), text.end()};
}
std::string Library::defaultName() {
  return "qelvmpx.dll";
}

#elif defined(__wasm__)

// Nothing is loaded at run time: the program is linked with the library.
namespace {
const std::map<std::string, void*> linked = {
#define QELVM_ORDINAL(number, name) {#name, reinterpret_cast<void*>(&name)},
#include "families/ordinals.inc"
};
} // namespace

Library::Library(const std::string& path) : path_(path), handle_(nullptr) {}
void Library::unload() {
  handle_ = nullptr;
}
void* Library::symbol(const std::string& name) const {
  const auto found = linked.find(name);
  return found == linked.end() ? nullptr : found->second;
}
std::string Library::file() const {
  return path_;
}
std::string Library::defaultName() {
  return "qelvm.wasm";
}

#else

Library::Library(const std::string& path)
    : path_(path), handle_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
  if (handle_ == nullptr)
    throw std::runtime_error(std::string("cannot load the library: ") + dlerror());
  refuseOtherProcessors();
}
void Library::unload() {
  dlclose(handle_);
}
void* Library::symbol(const std::string& name) const {
  return dlsym(handle_, name.c_str());
}
std::string Library::file() const {
  Dl_info info;
  if (dladdr(symbol("qelvmGetLibVersion"), &info) == 0)
    return path_;
  std::error_code none;
  const auto file = std::filesystem::canonical(info.dli_fname, none);
  return none ? info.dli_fname : file.string();
}
std::string Library::defaultName() {
  return "libqelvmpx.so.5";
}

#endif

Library::~Library() {
  unload();
}

void Library::refuseOtherProcessors() {
  if (symbol("qelvmGetLibVersion") == nullptr || canRun(cpuCode(version())))
    return;
  const std::string reason =
      file() + " is compiled for " + processorName(version()) + ", and this processor is not one";
  unload();
  throw std::runtime_error(reason);
}

Function Library::function(const Export& e) const {
  void* address = symbol(e.symbol());
  if (address == nullptr)
    throw std::runtime_error(path_ + " does not have " + e.symbol());
  return {address, e.shape};
}

const QelLibVersion& Library::version() const {
  void* address = symbol("qelvmGetLibVersion");
  if (address == nullptr)
    throw std::runtime_error(path_ + " does not have qelvmGetLibVersion");
  return *reinterpret_cast<const QelLibVersion*(QELVM_CALL*)()>(address)();
}

} // namespace loader
