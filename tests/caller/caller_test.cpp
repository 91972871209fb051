// What a caller may rely on besides the results: little stack, nothing touched beyond the arrays,
// any number of threads, control settings left alone, loading and unloading at will.

#include "loader/loader.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <thread>
#include <ucontext.h>
#include <unistd.h>
#include <vector>

#ifdef __x86_64__
#include <xmmintrin.h>
#endif

namespace {

using loader::Export;

/// The library to test, and how much stack a call of it may use, where it is not the plain one.
std::string libraryPath() {
  const char* const path = std::getenv("QELVM_TEST_LIBRARY");
  return path != nullptr ? path : QELVM_LIBRARY;
}
std::size_t stackLimit() {
  return std::getenv("QELVM_TEST_LIBRARY") != nullptr ? 4096 : 512;
}

/// Ordinary elements in groups and alone, and the exceptional ones of every kind.
template <class T>
std::vector<T> mixedArguments(bool second) {
  std::vector<T> values;
  for (T v : {T(1.5), T(0.25), T(3), T(2), T(7.5), T(0), T(-0.0), T(-2.5), T(800), T(-800),
              std::numeric_limits<T>::infinity(), std::numeric_limits<T>::quiet_NaN(),
              std::numeric_limits<T>::denorm_min(), std::numeric_limits<T>::max(), T(1e-5)})
    for (int times = second ? 2 : 5; times > 0; --times)
      values.push_back(v);
  return values;
}

/// Calls with every shape's operands; the results of both destinations.
template <class T>
class Call {
public:
  Call(const loader::Library& library, const Export& e)
      : function_(library.function(e)),
        x_(mixedArguments<T>(false)),
        y_(mixedArguments<T>(true)),
        results_(2 * x_.size()) {
    y_.resize(x_.size(), T(2));
  }
  void run() {
    status_ = function_(loader::Operands<T>{x_.data(), y_.data(), T(-0.5), results_.data(),
                                            results_.data() + x_.size()},
                        static_cast<int>(x_.size()));
  }
  bool same(const Call& other) const {
    return status_ == other.status_ &&
           std::memcmp(results_.data(), other.results_.data(), results_.size() * sizeof(T)) == 0;
  }

private:
  loader::Function function_;
  std::vector<T> x_, y_, results_;
  QelStatus status_ = 0;
};

template <class F>
void forEveryExport(const loader::Library& library, F f) {
  for (const Export& e : loader::exports()) {
    if (!library.has(e))
      continue;
    if (e.single)
      f(e, [&] { return Call<float>(library, e); });
    else
      f(e, [&] { return Call<double>(library, e); });
  }
}

/// Runs code on a stack of its own and tells how many bytes of it were written.
class PaintedStack {
public:
  template <class F>
  std::size_t bytesUsed(F code) {
    std::fill(stack_.begin(), stack_.end(), paint);
    ucontext_t context;
    getcontext(&context);
    context.uc_stack.ss_sp = stack_.data();
    context.uc_stack.ss_size = stack_.size();
    context.uc_link = &back_;
    code_ = [](void* f) { (*static_cast<F*>(f))(); };
    argument_ = &code;
    current_ = this;
    makecontext(&context, &PaintedStack::enter, 0);
    swapcontext(&back_, &context);
    const auto touched = std::find_if(stack_.begin(), stack_.end(),
                                      [](unsigned char byte) { return byte != paint; });
    return static_cast<std::size_t>(stack_.end() - touched);
  }

private:
  static constexpr unsigned char paint = 0x5C;
  static void enter() { current_->code_(current_->argument_); }

  static inline PaintedStack* current_ = nullptr;
  std::vector<unsigned char> stack_ = std::vector<unsigned char>(65536);
  ucontext_t back_{};
  void (*code_)(void*) = nullptr;
  void* argument_ = nullptr;
};

#ifdef __has_feature
constexpr bool isInstrumented = __has_feature(address_sanitizer);
#else
constexpr bool isInstrumented = false;
#endif

TEST(Caller, EveryCallUsesFewBytesOfStack) {
  if (isInstrumented)
    GTEST_SKIP() << "a sanitizer's calls use more";
  const loader::Library library(libraryPath());
  PaintedStack stack;
  const auto warmUp = [](const auto& make) { make().run(); }; // lazy binding, once
  const std::size_t harness = stack.bytesUsed([] {});
  std::size_t most = 0;
  forEveryExport(library, [&](const Export& e, auto make) {
    warmUp(make);
    auto call = make();
    const std::size_t used = stack.bytesUsed([&] { call.run(); }) - harness;
    EXPECT_LT(used, stackLimit()) << e.name;
    EXPECT_GT(used, 0u) << "nothing measured";
    most = std::max(most, used);
  });
  RecordProperty("most", static_cast<int>(most));
  std::printf("most stack used by a call: %zu bytes\n", most);
}

TEST(Caller, ThreadsGetTheSameResultsAtOnce) {
  const loader::Library library(libraryPath());
  forEveryExport(library, [&](const Export& e, auto make) {
    auto alone = make();
    alone.run();
    std::vector<int> wrong(4);
    std::vector<std::thread> threads;
    for (int& count : wrong)
      threads.emplace_back([&] {
        auto mine = make();
        for (int i = 0; i < 200; ++i) {
          mine.run();
          count += !mine.same(alone);
        }
      });
    for (std::thread& thread : threads)
      thread.join();
    EXPECT_EQ(wrong, std::vector<int>(4)) << e.name;
  });
}

/// A page between two that may not be touched.
class GuardedPage {
public:
  GuardedPage()
      : size_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
        start_(static_cast<unsigned char*>(
            mmap(nullptr, 3 * size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
    if (mprotect(page(), size_, PROT_READ | PROT_WRITE) != 0)
      throw std::runtime_error("no guarded page");
  }
  ~GuardedPage() { munmap(start_, 3 * size_); }
  GuardedPage(const GuardedPage&) = delete;
  GuardedPage& operator=(const GuardedPage&) = delete;

  /// `count` elements with which the page ends, or begins.
  template <class T>
  T* array(std::size_t count, bool atEnd) {
    return reinterpret_cast<T*>(page() + (atEnd ? size_ - count * sizeof(T) : 0));
  }

private:
  unsigned char* page() { return start_ + size_; }

  std::size_t size_;
  unsigned char* start_;
};

template <class T>
void callBetweenGuards(const loader::Function& f, std::vector<GuardedPage>& pages) {
  const std::vector<T> values = mixedArguments<T>(false);
  for (const bool atEnd : {false, true})
    for (std::size_t count = 1; count <= values.size(); ++count) {
      T* arrays[4];
      for (std::size_t i = 0; i < 4; ++i) {
        arrays[i] = pages[i].array<T>(count, atEnd);
        std::copy_n(values.end() - static_cast<std::ptrdiff_t>(count), count, arrays[i]);
      }
      f(loader::Operands<T>{arrays[0], arrays[1], T(2), arrays[2], arrays[3]},
        static_cast<int>(count));
    }
}

TEST(Caller, NothingBeyondTheArraysIsTouched) {
  const loader::Library library(libraryPath());
  std::vector<GuardedPage> pages(4);
  for (const Export& e : loader::exports())
    if (library.has(e) && e.single)
      callBetweenGuards<float>(library.function(e), pages);
    else if (library.has(e))
      callBetweenGuards<double>(library.function(e), pages);
}

// Results are promised only in the default settings; that a call returns, and leaves the settings
// as they were, in all.
TEST(Caller, ControlSettingsStayAsTheyWere) {
  const loader::Library library(libraryPath());
  forEveryExport(library, [&](const Export& e, auto make) {
    for (int mode : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
      auto call = make();
      std::fesetround(mode);
      call.run();
      EXPECT_EQ(std::fegetround(), mode) << e.name;
      std::fesetround(FE_TONEAREST);
    }
#ifdef __x86_64__
    constexpr unsigned flushToZero = 0x8000, denormalsAreZero = 0x0040, exceptionFlags = 0x3F;
    const unsigned before = _mm_getcsr();
    for (const unsigned settings :
         {flushToZero, denormalsAreZero, flushToZero | denormalsAreZero}) {
      auto call = make();
      _mm_setcsr(before | settings);
      call.run();
      EXPECT_EQ(_mm_getcsr() & ~exceptionFlags, (before | settings) & ~exceptionFlags) << e.name;
      _mm_setcsr(before);
    }
#endif
  });
}

TEST(Caller, LoadsAndUnloadsAgainAndAgain) {
  for (int i = 0; i < 10000; ++i) {
    const loader::Library library(libraryPath());
    ASSERT_EQ(library.version().versionMajor, 5);
  }
}

} // namespace
