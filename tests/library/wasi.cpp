// WebAssembly has no exceptions in this toolchain: what throws one ends the program with its
// reason.
#include <cstddef>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <typeinfo>

extern "C" {
void* __cxa_allocate_exception(std::size_t size) {
  return std::malloc(size);
}
[[noreturn]] void __cxa_throw(void* thrown, std::type_info*, void (*)(void*)) {
  std::cerr << "library_checks: " << static_cast<std::exception*>(thrown)->what() << '\n';
  std::exit(2);
}
}
