#include "tools/forkzip/extract/Destination.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "platform/files/FileCalls.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/extract/Provisional.h"

namespace vantorel::forkzip {

namespace {
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr mode_t kNewFolder = 0777;  // less the umask
}  // namespace

Destination::Destination(const std::string& root, bool clear) : root_path_(root), clear_(clear) {
  std::error_code error;
  std::filesystem::create_directories(root, error);
  if (!error)
    root_ = Descriptor(open(root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));  // need not be readable
  if (!root_.IsOpen()) {
    throw Failure(ExitCode::kFileError, WithCause("destination " + root, error ? error.value() : errno));
  }
  if (clear_) ClearProvisional(root_path_);
}

int Destination::Folder(std::span<const std::string> components) {
  if (components.empty()) return root_.Number();
  const std::size_t known = current_components_.size();
  const bool below = known <= components.size() && current_.IsOpen() &&
                     std::equal(current_components_.begin(), current_components_.end(), components.begin());
  if (!below) {
    current_components_.clear();
    current_.Close();
  }
  for (std::size_t i = current_components_.size(); i < components.size(); ++i) {
    current_ = Step(i == 0 ? root_.Number() : current_.Number(), components.first(i + 1));
    current_components_.push_back(components[i]);
  }
  return current_.Number();
}

// Opens the last of the components in the folder `parent`.
Descriptor Destination::Step(int parent, std::span<const std::string> components) {
  const char* name = components.back().c_str();
  Descriptor folder(openat(parent, name, kFolderFlags | O_NOFOLLOW));
  if (!folder.IsOpen() && errno == ENOENT && (mkdirat(parent, name, kNewFolder) == 0 || errno == EEXIST)) {
    folder = Descriptor(openat(parent, name, kFolderFlags | O_NOFOLLOW));
  }
  if (folder.IsOpen()) {
    if (clear_) ClearProvisional(PathOf(components));
    return folder;
  }
  const int error = errno;
  struct stat status {};
  if (fstatat(parent, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(status.st_mode)) {
    throw Failure(ExitCode::kBadArchive, "refused: a symbolic link is in the way: " + PathOf(components));
  }
  throw Failure(ExitCode::kFileError, WithCause("folder " + PathOf(components), error));
}

bool Destination::HasFolder(std::span<const std::string> components) const {
  std::string path = ".";
  for (const std::string& component : components) path += "/" + component;
  return S_ISDIR(KindOf(root_.Number(), path));
}

std::string Destination::PathOf(std::span<const std::string> components) const {
  std::string path = root_path_;
  for (const std::string& component : components) {
    if (path.back() != '/') path += '/';
    path += component;
  }
  return path;
}

}  // namespace vantorel::forkzip
