#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/base/Failures.h"
#include "platform/files/FolderItem.h"

namespace vantorel {
namespace {

std::string HomePath() {
  const char* home = std::getenv("HOME");
  if (home != nullptr && *home == '/') return home;
  const passwd* user = getpwuid(getuid());
  return user != nullptr && user->pw_dir != nullptr ? user->pw_dir : "";
}

// The XDG base directory rules: a relative path in the variable counts as none.
std::string DataPath() {
  const char* path = std::getenv("XDG_DATA_HOME");
  if (path != nullptr && *path == '/') return path;
  const std::string home = HomePath();
  return home.empty() ? "" : home + "/.local/share";
}

}  // namespace

Ref<FolderItem> SpecialFolder::ApplicationData() {
  namespace fs = std::filesystem;
  const std::string path = DataPath();
  std::error_code failure;
  if (path.empty()) {
    NoteFailure("find", "the user's home folder", ENOENT);
    return nil;
  }
  fs::create_directories(path, failure);
  if (failure) NoteFailure("make the folder", path, failure.value());
  const fs::path folder = fs::canonical(path, failure);  // links on the way are the user's own arrangement
  return failure || !fs::is_directory(folder, failure) ? nil : New<FolderItem>(folder.string());
}

}  // namespace vantorel
