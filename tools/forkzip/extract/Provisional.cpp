#include "tools/forkzip/extract/Provisional.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

#include "tools/forkzip/cli/Problems.h"

namespace vantorel::forkzip {

namespace {
constexpr std::string_view kPrefix = ".forkzip-";  // and numbers behind it
}  // namespace

std::string ProvisionalName() {
  // The time tells it from what a killed process of the same number may have left.
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::string(kPrefix) + std::to_string(getpid()) + "-" + std::to_string(now.count());
}

void LockFolder(int folder) {
  flock(folder, LOCK_SH | LOCK_NB);
}

void ClearProvisional(int folder, const std::string& path) {
  std::error_code error;
  std::vector<std::filesystem::path> found;
  for (std::filesystem::directory_iterator item(path, error), end; item != end; item.increment(error)) {
    const std::string name = item->path().filename();
    const bool is_provisional = name.starts_with(kPrefix) &&
                                name.find_first_not_of("0123456789-", kPrefix.size()) == std::string::npos;
    if (is_provisional) found.push_back(item->path());
    if (error) break;
  }
  // Whoever made one of these, and is not done with it, has held a lock since before it was found.
  if (!found.empty() && flock(folder, LOCK_EX | LOCK_NB) == 0) {
    for (const auto& each : found) std::filesystem::remove_all(each, error);
  }
  LockFolder(folder);
}

Staging::~Staging() {
  if (name_.empty() || unlinkat(folder_, name_.c_str(), AT_REMOVEDIR) == 0) return;
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

void Staging::Make(const std::string& path) {
  const std::string name = ProvisionalName();
  if (mkdirat(folder_, name.c_str(), S_IRWXU) != 0) {
    throw SystemFailure("cannot be written", errno);
  }
  name_ = name;
  path_ = path + "/" + name;
}

Ref<FolderItem> Staging::Item(const std::string& name) const {
  return GetFolderItem(String::Bytes(path_ + "/" + name));
}

}  // namespace vantorel::forkzip
