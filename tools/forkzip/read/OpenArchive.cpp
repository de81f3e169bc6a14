#include "tools/forkzip/read/OpenArchive.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/read/HeapRoom.h"
#include "zip/records/RawDirectory.h"

namespace vantorel::forkzip {

namespace {

// The engine's own 16 KiB leaves time on the way to and from the system.
constexpr std::int32_t kCopyChunk = 65536;

Ref<ZipArchive> NewArchive() {
  auto archive = New<ZipArchive>();
  archive->d->copyChunkSize = kCopyChunk;
  return archive;
}

}  // namespace

Ref<TextEncoding> EncodingByName(const std::string& name) {
  const auto archive = New<ZipArchive>();
  if (name == "utf-8") return archive->EncodedAsUnicode();
  if (name == "windows-1252") return archive->EncodedAsWinLatin1();
  if (name == "cp437") return archive->EncodedAsDOSLatinUS();
  if (name == "mac-roman") return archive->EncodedAsMacDefault();
  return nil;
}

Descriptor OpenRegularFile(const std::string& path, int flags) {
  Descriptor file(open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK));
  if (!file.IsOpen()) {
    const ExitCode code = errno == ENOENT ? ExitCode::kBadArchive : ExitCode::kFileError;
    const bool writing = (flags & O_ACCMODE) != O_RDONLY && code == ExitCode::kFileError;
    throw Failure(code, WithCause(writing ? "cannot be opened for writing" : "cannot be opened", errno));
  }
  struct stat status {};
  if (fstat(file.Get(), &status) == 0 && !S_ISREG(status.st_mode)) {
    throw Failure(ExitCode::kFileError, S_ISDIR(status.st_mode) ? "is a folder" : "is not a regular file");
  }
  return file;
}

void PrepareForManyMembers(int file) {
  constexpr std::uint32_t kMany = 10000;
  // What the engine's objects take, and names and extra fields twice: as they stand, and in objects.
  constexpr std::size_t kPerMember = 440;
  const auto [members, bytes] = RawDirectory::Announced(file);
  if (members >= kMany) ExpectHeapOf(members * kPerMember + std::size_t{2} * bytes);
}

Ref<ZipArchive> OpenForReading(const std::string& path, const std::string& encoding) {
  PrepareForManyMembers(OpenRegularFile(path, O_RDONLY).Get());
  Ref<ZipArchive> archive = NewArchive();
  if (!archive->Open(GetFolderItem(String::Bytes(path)), false, EncodingByName(encoding))) {
    throw Failure(ExitCode::kBadArchive, Utf8(archive->ErrorMessage()));
  }
  return archive;
}

Ref<ZipArchive> OpenForWriting(const std::string& path, const std::string& encoding) {
  Ref<ZipArchive> archive = NewArchive();
  if (!archive->Open(GetFolderItem(String::Bytes(path)), true, EncodingByName(encoding))) {
    const std::string message = Utf8(archive->ErrorMessage());
    const bool file_error = message.starts_with("Creating") || message.starts_with("Opening");
    throw Failure(file_error ? ExitCode::kFileError : ExitCode::kBadArchive, message);
  }
  return archive;
}

void CloseWritten(const Ref<ZipArchive>& archive) {
  const Ref<BinaryStream> stream = archive->d->zipStream;
  if (!archive->Close()) throw Failure(ExitCode::kFileError, Utf8(archive->ErrorMessage()));
  if (stream->WriteError()) throw Failure(ExitCode::kFileError, "cannot be written; is the disk full?");
}

}  // namespace vantorel::forkzip
