#include "tools/publish/OutputFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <utility>

#include "platform/files/FileCalls.h"
#include "tools/publish/PublishError.h"

namespace vantorel::publish {
namespace {

[[noreturn]] void Fail(const std::string& path, int error) {
  throw PublishError(ExitCode::kFileError, path + ": " + std::strerror(error));
}

[[noreturn]] void FailWithErrno(const std::string& path) {
  Fail(path, errno);
}

}  // namespace

OutputFolder::OutputFolder(std::string path) : path_(std::move(path)) {
  std::error_code error;
  std::filesystem::create_directories(path_, error);
  if (error) throw PublishError(ExitCode::kFileError, path_ + ": " + error.message());
  folder_ = Descriptor(open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder_.IsOpen()) FailWithErrno(path_);
  if (flock(folder_.Number(), LOCK_EX | LOCK_NB) == 0) return;
  if (errno == EWOULDBLOCK)
    throw PublishError(ExitCode::kFileError, path_ + ": another run publishes in it right now");
  FailWithErrno(path_);
}

OutputFolder::~OutputFolder() {
  for (auto placed = placed_.rbegin(); placed != placed_.rend(); ++placed) TakeBack(*placed);
  for (const std::string& name : drafts_) unlink(DraftOf(name).c_str());
}

std::string OutputFolder::Draft(const std::string& name) {
  std::string draft = DraftOf(name);
  if (unlink(draft.c_str()) != 0 && errno != ENOENT) FailWithErrno(draft);
  drafts_.push_back(name);
  return draft;
}

void OutputFolder::WriteDraft(const std::string& name, std::string_view content) {
  const std::string draft = Draft(name);
  std::ofstream stream(draft, std::ios::binary);
  stream.write(content.data(), static_cast<std::streamsize>(content.size()));
  stream.close();
  if (!stream) FailWithErrno(draft);
}

void OutputFolder::Place(const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    const std::string draft = DraftOf(name);
    if (const int error = SyncPath(draft)) Fail(draft, error);
    if (chmod(draft.c_str(), 0644) != 0) FailWithErrno(draft);
  }
  for (const std::string& name : names) PlaceDraft(name);
  if (fsync(folder_.Number()) != 0) FailWithErrno(path_);
}

void OutputFolder::PlaceDraft(const std::string& name) {
  const std::string draft = DraftOf(name);
  const std::string final_path = PathOf(name);
  struct stat status {};
  const bool replaces_file = lstat(final_path.c_str(), &status) == 0 && !S_ISDIR(status.st_mode);
  const bool exchanged =
      replaces_file && renameat2(AT_FDCWD, draft.c_str(), AT_FDCWD, final_path.c_str(), RENAME_EXCHANGE) == 0;
  // There are file systems that cannot exchange.
  if (!exchanged && rename(draft.c_str(), final_path.c_str()) != 0) FailWithErrno(final_path);
  if (exchanged || !replaces_file) placed_.push_back({name, exchanged});
}

void OutputFolder::TakeBack(const Placed& placed) const {
  if (placed.old_is_draft) {
    rename(DraftOf(placed.name).c_str(), PathOf(placed.name).c_str());
  } else {
    unlink(PathOf(placed.name).c_str());
  }
}

}  // namespace vantorel::publish
