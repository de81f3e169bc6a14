#include "launcher/sealed/WorkFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "launcher/sealed/Refusal.h"

namespace vantorel::sealed {
namespace {

namespace fs = std::filesystem;

bool IsThere(const std::string& path) {
  return fs::exists(fs::symlink_status(path));
}

void RemoveTree(const std::string& path) {
  std::error_code error;
  fs::remove_all(path, error);
  if (!error || !fs::is_directory(fs::symlink_status(path))) return;
  // There are folders in it that may not be changed.
  fs::permissions(path, fs::perms::owner_all, fs::perm_options::add, error);
  for (fs::recursive_directory_iterator each(path, error), end; !error && each != end;
       each.increment(error)) {
    if (each->is_symlink() || !each->is_directory()) continue;
    fs::permissions(each->path(), fs::perms::owner_all, fs::perm_options::add, error);
  }
  fs::remove_all(path, error);
}

}  // namespace

bool WorkFolder::Enter() {
  if (lock_.IsOpen()) return true;
  Descriptor folder(open(launcher_folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder.IsOpen() || flock(folder.Number(), LOCK_EX | LOCK_NB) != 0) return false;
  lock_ = std::move(folder);
  Settle();
  return true;
}

// The version's record goes before the serial number's: a record of the version that is left alone would
// otherwise look as if its serial number had left for the launcher folder.
void WorkFolder::Settle() const {
  if (!lock_.IsOpen()) return;
  const std::string version = Path("version");
  if (IsThere(Path("serial"))) {
    PutBack();
    unlink(version.c_str());
  } else if (IsThere(version) && rename(version.c_str(), (launcher_folder_ + "version").c_str()) != 0) {
    return;  // the next start tries again
  }
  RemoveTree(launcher_folder_ + kName);
}

void WorkFolder::PutBack() const {
  std::error_code error;
  for (fs::directory_iterator each(Path("old"), error), end; !error && each != end; each.increment(error)) {
    const std::string place = launcher_folder_ + each->path().filename().string();
    if (!IsThere(place)) rename(each->path().c_str(), place.c_str());
  }
}

void WorkFolder::Make() const {
  for (const char* name : {"", "new", "old"}) {
    // What is in `new` gets the modes that the user's mask leaves.
    if (mkdir(Path(name).c_str(), *name == '\0' ? S_IRWXU : 0777) != 0) {
      throw Refusal(Status::kNotLoaded, Path(name) + ": " + std::strerror(errno));
    }
  }
}

bool WorkFolder::Sync() const {
  return syncfs(lock_.Number()) == 0;
}

}  // namespace vantorel::sealed
