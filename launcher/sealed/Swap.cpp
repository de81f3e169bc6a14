#include "launcher/sealed/Swap.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "launcher/sealed/Refusal.h"

namespace vantorel::sealed {
namespace {

bool Rename(const std::string& from, const std::string& to) {
  return rename(from.c_str(), to.c_str()) == 0;
}

bool Exchange(const std::string& one, const std::string& other) {
  return renameat2(AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE) == 0;
}

[[noreturn]] void Fail(const std::string& path) {
  throw Refusal(Status::kNotPlaced, path + ": " + std::strerror(errno));
}

// A folder that its owner may not change cannot be moved to another one either. False if nothing is there.
bool MakeMovable(const std::string& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) return false;
  if (S_ISDIR(status.st_mode) && (status.st_mode & S_IWUSR) == 0) {
    chmod(path.c_str(), (status.st_mode & 07777) | S_IWUSR);
  }
  return true;
}

}  // namespace

Swap::Swap(std::string from, std::string to, std::string aside)
    : from_(std::move(from)), to_(std::move(to)), aside_(std::move(aside)) {}

void Swap::Place(const std::string& name) {
  const std::string item = from_ + name;
  const std::string place = to_ + name;
  MakeMovable(item);
  Way way = Way::kNothingWasThere;
  if (MakeMovable(place)) {
    way = Way::kExchanged;
    if (Exchange(item, place)) {
      placed_.push_back({name, way});
      return;
    }
    // There are file systems that cannot exchange.
    if (errno != EINVAL && errno != ENOSYS) Fail(place);
    way = Way::kMovedAside;
    if (!Rename(place, aside_ + name)) Fail(place);
  }
  placed_.push_back({name, way});
  if (!Rename(item, place)) Fail(place);
}

void Swap::TakeBack() {
  for (; !placed_.empty(); placed_.pop_back()) {
    const auto& [name, way] = placed_.back();
    if (way == Way::kExchanged) {
      Exchange(from_ + name, to_ + name);
      continue;
    }
    Rename(to_ + name, from_ + name);
    if (way == Way::kMovedAside) Rename(aside_ + name, to_ + name);
  }
}

}  // namespace vantorel::sealed
