#include "tools/forkzip/extract/Provisional.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "tools/forkzip/cli/Problems.h"

namespace vantorel::forkzip {

namespace {

// Whether `name` is a provisional one, and its process has ended.
bool IsLeftBehind(const std::string& name) {
  int process = 0;
  long long time = 0;
  int length = 0;
  const int fields = std::sscanf(name.c_str(), ".forkzip-%d-%lld%n", &process, &time, &length);
  if (fields != 2 || static_cast<std::size_t>(length) != name.size() || process <= 0) return false;
  return kill(process, 0) != 0 && errno == ESRCH;
}

}  // namespace

std::string ProvisionalName() {
  // The time tells it from what a killed process of the same number may have left.
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return ".forkzip-" + std::to_string(getpid()) + "-" + std::to_string(now.count());
}

void ClearProvisional(const std::string& path) {
  std::error_code error;
  std::error_code ignored;
  for (std::filesystem::directory_iterator item(path, error), end; item != end; item.increment(error)) {
    if (IsLeftBehind(item->path().filename())) std::filesystem::remove_all(item->path(), ignored);
    if (error) break;
  }
}

Staging::~Staging() {
  if (name_.empty() || unlinkat(folder_, name_.c_str(), AT_REMOVEDIR) == 0) return;
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

void Staging::Make(const std::string& path) {
  const std::string name = ProvisionalName();
  if (mkdirat(folder_, name.c_str(), S_IRWXU) != 0) {
    throw Failure(ExitCode::kFileError, WithCause("cannot be written", errno));
  }
  name_ = name;
  path_ = path + "/" + name;
}

}  // namespace vantorel::forkzip
