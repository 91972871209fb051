#include "loader/loader.hpp"

#include <array>
#include <filesystem>
#include <map>
#include <stdexcept>

#ifdef _WIN32
#include <windows.h>
#else
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

std::vector<Export> listExports() {
  std::vector<Export> list;
  for (const Family& f : families) {
    const auto add = [&](const char* suffix, bool single, double bound) {
      const std::string name = std::string(f.name) + suffix;
      list.push_back(
          {name, f.name, single, f.shape, f.statuses, bound, ordinals.at("qels" + name)});
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
}
Library::~Library() {
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

#else

Library::Library(const std::string& path)
    : path_(path), handle_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
  if (handle_ == nullptr)
    throw std::runtime_error(std::string("cannot load the library: ") + dlerror());
}
Library::~Library() {
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
