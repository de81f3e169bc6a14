#include "tools/publish/OutputFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <utility>

#include "tools/publish/PublishError.h"

namespace vantorel::publish {
namespace {

[[noreturn]] void FailWithErrno(const std::string& path) {
  throw PublishError(ExitCode::kFileError, path + ": " + std::strerror(errno));
}

void Sync(const std::string& path, int flags) {
  const int descriptor = open(path.c_str(), flags | O_CLOEXEC);
  if (descriptor < 0) FailWithErrno(path);
  const bool synced = fsync(descriptor) == 0;
  close(descriptor);
  if (!synced) FailWithErrno(path);
}

}  // namespace

OutputFolder::OutputFolder(std::string path) : path_(std::move(path)) {
  std::error_code error;
  std::filesystem::create_directories(path_, error);
  if (error) throw PublishError(ExitCode::kFileError, path_ + ": " + error.message());
}

std::string OutputFolder::Draft(const std::string& name) const {
  std::string draft = path_ + "/." + name + ".new";
  if (unlink(draft.c_str()) != 0 && errno != ENOENT) FailWithErrno(draft);
  return draft;
}

void OutputFolder::WriteDraft(const std::string& name, std::string_view content) const {
  const std::string draft = Draft(name);
  std::ofstream stream(draft, std::ios::binary);
  stream.write(content.data(), static_cast<std::streamsize>(content.size()));
  stream.close();
  if (!stream) FailWithErrno(draft);
}

void OutputFolder::Place(const std::string& name) const {
  const std::string draft = path_ + "/." + name + ".new";
  const std::string final_path = path_ + "/" + name;
  Sync(draft, O_RDONLY);
  if (chmod(draft.c_str(), 0644) != 0) FailWithErrno(draft);
  if (rename(draft.c_str(), final_path.c_str()) != 0) FailWithErrno(final_path);
  Sync(path_, O_RDONLY | O_DIRECTORY);
}

}  // namespace vantorel::publish
