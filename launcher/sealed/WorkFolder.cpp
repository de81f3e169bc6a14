#include "launcher/sealed/WorkFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "launcher/sealed/Refusal.h"
#include "platform/files/FileCalls.h"

namespace vantorel::sealed {
namespace {

namespace fs = std::filesystem;

constexpr int kMostAside = 99;

void RemoveTree(const std::string& path) {
  std::error_code error;
  fs::remove_all(path, error);
  if (!error || !S_ISDIR(KindOf(AT_FDCWD, path))) return;
  // There are folders in it that may not be changed.
  chmod(path.c_str(), S_IRWXU);
  for (fs::recursive_directory_iterator each(path, error), end; !error && each != end;
       each.increment(error)) {
    const std::string item = each->path();
    if (S_ISDIR(KindOf(AT_FDCWD, item))) chmod(item.c_str(), S_IRWXU);
  }
  fs::remove_all(path, error);
}

void MoveAside(const std::string& path) {
  for (int number = 1; number <= kMostAside; ++number) {
    if (rename(path.c_str(), (path + "-" + std::to_string(number)).c_str()) == 0) return;
    if (errno != ENOTEMPTY && errno != EEXIST) break;
  }
  RefuseWithErrno(path);
}

}  // namespace

std::vector<std::string> WorkFolder::Folders() const {
  const std::string name(kName);
  std::vector<std::string> paths;
  for (const auto& item : fs::directory_iterator(launcher_folder_)) {
    const std::string found = item.path().filename();
    if (found == name || found.starts_with(name + "-")) paths.push_back(item.path());
  }
  return paths;
}

// What may be read by others could be locked by them: the lock is a file of its own.
void WorkFolder::Enter() {
  if (lock_.IsOpen()) return;
  const std::string path = Path() + ".lock";
  Descriptor lock(open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (!lock.IsOpen()) RefuseWithErrno(path);
  if (flock(lock.Number(), LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) throw Refusal(Status::kBusy, "another launcher works in the launcher folder");
    RefuseWithErrno(path);
  }
  lock_ = std::move(lock);
}

void WorkFolder::Make() const {
  if (KindOf(AT_FDCWD, Path()) != 0) MoveAside(Path());
  if (mkdir(Path().c_str(), S_IRWXU) != 0) RefuseWithErrno(Path());
  for (const char* name : {"new", "old"}) {
    // What is in `new` gets the modes that the user's mask leaves.
    if (mkdir(Path(name).c_str(), 0777) != 0) RefuseWithErrno(Path(name));
  }
}

void WorkFolder::Remove() const {
  for (const std::string& path : Folders()) RemoveTree(path);
}

void WorkFolder::Sync() const {
  if (syncfs(lock_.Number()) != 0) RefuseWithErrno(launcher_folder_);
}

}  // namespace vantorel::sealed
