// Loaded before a program (LD_PRELOAD), makes one of its requests of the system or of memory fail.
//
// ORVHDRI_FAULT names it: "write 3 28" makes the third write to a file fail with error 28, "commit 1 5" the
// first file that is given its name, "new 70 0" the 70th `operator new`, "short 2 0" writes half of the
// second write. The file that ORVHDRI_FAULT_MARK names exists once the fault has struck.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

struct Fault {
  char kind[16] = "";
  int error = 0;
  std::atomic<long> left{0};

  Fault() {
    long n = 0;
    const char* const text = std::getenv("ORVHDRI_FAULT");
    if (text && std::sscanf(text, "%15s %ld %d", kind, &n, &error) == 3) left = n;
  }

  /// Whether this request is the one that is to fail.
  bool strikes(const char* what) {
    if (std::strcmp(kind, what) != 0 || left.load() <= 0 || left.fetch_sub(1) != 1) return false;
    if (const char* const mark = std::getenv("ORVHDRI_FAULT_MARK"))
      syscall(SYS_close, syscall(SYS_open, mark, O_CREAT | O_WRONLY, 0600));
    errno = error;
    return true;
  }
};

Fault& fault() {
  // Never destroyed: requests come until the very end.
  alignas(Fault) static unsigned char storage[sizeof(Fault)];
  static Fault* const instance = new (storage) Fault;
  return *instance;
}

bool isFile(int descriptor) {
  struct stat status {};
  return descriptor > 2 && fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

template <typename Function>
Function next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

ssize_t write(int descriptor, const void* data, std::size_t size) {
  static const auto real = next<ssize_t (*)(int, const void*, std::size_t)>("write");
  if (isFile(descriptor)) {
    if (fault().strikes("write")) return -1;
    if (size > 1 && fault().strikes("short")) size /= 2;
  }
  return real(descriptor, data, size);
}

ssize_t pwrite(int descriptor, const void* data, std::size_t size, off_t offset) {
  static const auto real = next<ssize_t (*)(int, const void*, std::size_t, off_t)>("pwrite");
  if (isFile(descriptor)) {
    if (fault().strikes("write")) return -1;
    if (size > 1 && fault().strikes("short")) size /= 2;
  }
  return real(descriptor, data, size, offset);
}

int rename(const char* from, const char* to) {
  static const auto real = next<int (*)(const char*, const char*)>("rename");
  return fault().strikes("commit") ? -1 : real(from, to);
}

int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) {
  static const auto real = next<int (*)(int, const char*, int, const char*, int)>("linkat");
  return fault().strikes("commit") ? -1 : real(fromFolder, from, toFolder, to, flags);
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) {
  static const auto real = next<int (*)(int, const char*, int, const char*, unsigned)>("renameat2");
  return fault().strikes("commit") ? -1 : real(fromFolder, from, toFolder, to, flags);
}

}  // extern "C"

namespace {

using Main = int (*)(int, char**, char**);
Main programsMain = nullptr;
/// Before `main` no handler of the program's can be there, and what libraries then ask for is not counted.
std::atomic<bool> mainHasBegun{false};

int mainWithFaults(int argc, char** argv, char** environment) {
  mainHasBegun = true;
  return programsMain(argc, argv, environment);
}

}  // namespace

extern "C" int __libc_start_main(Main main, int argc, char** argv, void (*init)(), void (*fini)(),
                                 void (*linkerFini)(), void* stackEnd) {
  programsMain = main;
  return next<decltype(&__libc_start_main)>("__libc_start_main")(mainWithFaults, argc, argv, init, fini,
                                                                 linkerFini, stackEnd);
}

void* operator new(std::size_t bytes) {
  void* const storage = mainHasBegun && fault().strikes("new") ? nullptr : std::malloc(bytes > 0 ? bytes : 1);
  if (!storage) throw std::bad_alloc();
  return storage;
}
void operator delete(void* storage) noexcept { std::free(storage); }
void operator delete(void* storage, std::size_t) noexcept { std::free(storage); }
