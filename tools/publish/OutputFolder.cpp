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
  for (const std::string& name : drafts_) {
    unlink(DraftOf(name).c_str());
    unlink(OldOf(name).c_str());
  }
}

std::string OutputFolder::Draft(const std::string& name) {
  for (const std::string& left_over : {OldOf(name), DraftOf(name)}) {
    if (unlink(left_over.c_str()) != 0 && errno != ENOENT) FailWithErrno(left_over);
  }
  drafts_.push_back(name);
  return DraftOf(name);
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
  const bool replaces = KeepOld(name);
  if (rename(DraftOf(name).c_str(), PathOf(name).c_str()) != 0) FailWithErrno(PathOf(name));
  placed_.push_back({name, replaces});
}

bool OutputFolder::KeepOld(const std::string& name) const {
  const std::string path = PathOf(name);
  if (link(path.c_str(), OldOf(name).c_str()) == 0) return true;
  if (errno == ENOENT) return false;
  // There are file systems that know no second name for a file.
  std::error_code error;
  std::filesystem::copy_file(path, OldOf(name), error);
  if (error) Fail(path, error.value());
  return true;
}

void OutputFolder::TakeBack(const Placed& placed) const {
  const std::string path = PathOf(placed.name);
  if ((placed.replaced ? rename(OldOf(placed.name).c_str(), path.c_str()) : unlink(path.c_str())) == 0)
    return;
  std::fprintf(stderr, "vantorel-publish: %s: cannot be taken back: %s\n", path.c_str(),
               std::strerror(errno));
}

}  // namespace vantorel::publish
