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

void Refuse(const std::string& why) {
  throw Failure(ExitCode::kBadArchive, "refused: " + why);
}

Destination::Destination(const std::string& root) : root_path_(root) {
  std::error_code error;
  std::filesystem::create_directories(root, error);
  for (const int flags : {kFolderFlags, kFolderFlags | O_PATH}) {  // the second for one that may not be read
    if (!error && !root_.IsOpen()) root_ = Descriptor(open(root.c_str(), flags));
  }
  if (!root_.IsOpen()) {
    throw SystemFailure("destination " + root, error ? error.value() : errno);
  }
  LockFolder(root_.Number());
}

int Destination::Folder(std::span<const std::string> components) {
  if (components.empty()) return root_.Number();
  const std::size_t known = current_components_.size();
  if (known > components.size() || !std::ranges::equal(current_components_, components.first(known))) {
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
Descriptor Destination::Step(int parent, std::span<const std::string> components) const {
  const char* name = components.back().c_str();
  Descriptor folder(openat(parent, name, kFolderFlags | O_NOFOLLOW));
  if (!folder.IsOpen() && errno == ENOENT && (mkdirat(parent, name, kNewFolder) == 0 || errno == EEXIST)) {
    folder = Descriptor(openat(parent, name, kFolderFlags | O_NOFOLLOW));
  }
  if (folder.IsOpen()) {
    LockFolder(folder.Number());
    return folder;
  }
  const int error = errno;
  if (S_ISLNK(KindOf(parent, name))) Refuse("a symbolic link is in the way: " + PathOf(components));
  throw SystemFailure("folder " + PathOf(components), error);
}

bool Destination::HasFolder(std::span<const std::string> components) const {
  if (std::ranges::equal(components, current_components_)) return true;
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
