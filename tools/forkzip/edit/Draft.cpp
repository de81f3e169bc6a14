#include "tools/forkzip/edit/Draft.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <filesystem>

#include "platform/compress/Crc32.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/edit/RunLock.h"

namespace vantorel::forkzip {

namespace {

constexpr mode_t kPrivate = 0600;

// Of a name that leaves no room for more, its sum stands instead.
std::string DraftName(const std::string& name) {
  constexpr const char* kSuffix = ".forkzip-new";
  std::string draft = "." + name + kSuffix;
  if (draft.size() <= NAME_MAX) return draft;
  return "." + std::to_string(static_cast<std::uint32_t>(Crc32OfBytes(name, 0))) + kSuffix;
}

}  // namespace

std::string DraftOf(const std::string& path) {
  const std::filesystem::path archive = RealPath(path);
  return (archive.parent_path() / DraftName(archive.filename().string())).string();
}

bool RemoveStray(const std::string& draft) {
  const Descriptor stray(open(draft.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!stray.IsOpen() && errno == ENOENT) return true;
  // While its lock is held, no other run takes the name away and gives it to a draft of its own.
  if (stray.IsOpen() && !(TryLock(stray.Get()) && IsNamed(stray.Get(), draft))) return false;
  unlink(draft.c_str());
  return true;
}

void LockDraft(int file, const std::string& draft) {
  if (!TryLock(file) || !IsNamed(file, draft)) FailAsInUse();
}

Descriptor MakeDraft(const std::string& draft) {
  if (!RemoveStray(draft)) FailAsInUse();
  Descriptor file(open(draft.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kPrivate));
  if (!file.IsOpen()) {
    throw Failure(ExitCode::kFileError, WithCause("no new file can be made beside it: " + draft, errno));
  }
  LockDraft(file.Get(), draft);
  return file;
}

}  // namespace vantorel::forkzip
