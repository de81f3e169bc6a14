// bench-sealed-hash FILE: the time of verifying an archive as the sealed launcher does it, beside that of
// reading the file twice. The file is read once before, so that it comes from memory.
#include <fcntl.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <vector>

#include "launcher/sealed/Signature.h"
#include "platform/base/Descriptor.h"

namespace vantorel {
namespace {

constexpr std::size_t kPieceBytes = 65536;

// Gives all of the file, piece by piece. Returns its size, or -1 if it cannot be read.
long Read(const char* path, const std::function<void(std::string_view)>& take) {
  const Descriptor file(open(path, O_RDONLY | O_CLOEXEC));
  std::vector<char> piece(kPieceBytes);
  long size = 0;
  for (ssize_t count = 1; count > 0;) {
    count = read(file.Number(), piece.data(), piece.size());
    if (count < 0) return -1;
    take({piece.data(), static_cast<std::size_t>(count)});
    size += count;
  }
  return size;
}

double SecondsOf(const std::function<void()>& step) {
  const auto start = std::chrono::steady_clock::now();
  step();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

int Run(const char* path) {
  const auto ignore = [](std::string_view) {};
  const long size = Read(path, ignore);
  if (size < 0) return 1;
  const double twice = SecondsOf([&] {
    Read(path, ignore);
    Read(path, ignore);
  });
  sealed::ArchiveHash hash;
  const double all = SecondsOf([&] { Read(path, [&](std::string_view piece) { hash.Add(piece); }); });
  sealed::ArchiveHash::Value value{};
  const double rest = SecondsOf([&] { value = hash.Finish(); });
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  std::printf(
      "%ld bytes: read twice %.3f s, read and hashed %.3f s, after the last byte %.6f s, %ld KiB of memory\n",
      size, twice, all, rest, usage.ru_maxrss);
  return 0;
}

}  // namespace
}  // namespace vantorel

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: bench-sealed-hash FILE\n");
    return 2;
  }
  return vantorel::Run(argv[1]);
}
