#include "tools/forkzip/read/OpenArchive.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/cli/Problems.h"
#include "zip/records/FormatError.h"
#include "zip/records/RawDirectory.h"

namespace vantorel::forkzip {

namespace {

// The engine's own 16 KiB leaves time on the way to and from the system.
constexpr std::int32_t kCopyChunk = 65536;

Ref<TextEncoding> EncodingByName(ZipArchive& archive, const std::string& name) {
  if (name == "windows-1252") return archive.EncodedAsWinLatin1();
  if (name == "cp437") return archive.EncodedAsDOSLatinUS();
  if (name == "mac-roman") return archive.EncodedAsMacDefault();
  return archive.EncodedAsUnicode();
}

// An archive of no members, as other programs write it, is an end record and nothing else. The engine wants a
// member in front. False if the file is something else.
bool ReadEndRecordAlone(ZipArchive& archive, int file) {
  try {
    const RawDirectory directory = RawDirectory::Read(file);
    if (directory.start != 0 || directory.announced != 0 || directory.unknown != 0) return false;
    archive.comment_ = String::Bytes(directory.comment);
    archive.entriesRead = true;
  } catch (const FormatError&) {
    return false;
  }
  return true;
}

}  // namespace

Ref<ZipArchive> NewArchive(const std::string& encoding) {
  auto archive = New<ZipArchive>();
  archive->d->copyChunkSize = kCopyChunk;
  archive->d->setArchiveEncoding(EncodingByName(*archive, encoding));
  return archive;
}

Descriptor OpenRegularFile(const std::string& path, int flags) {
  Descriptor file(open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK));
  if (!file.IsOpen()) {
    const ExitCode code = errno == ENOENT ? ExitCode::kBadArchive : ExitCode::kFileError;
    const bool writing = (flags & O_ACCMODE) != O_RDONLY && code == ExitCode::kFileError;
    throw Failure(code, WithCause(writing ? "cannot be opened for writing" : "cannot be opened", errno));
  }
  struct stat status {};
  if (fstat(file.Number(), &status) == 0 && !S_ISREG(status.st_mode)) {
    throw Failure(ExitCode::kFileError, S_ISDIR(status.st_mode) ? "is a folder" : "is not a regular file");
  }
  return file;
}

Ref<BinaryStream> StreamOver(int file, bool writable) {
  const int shared = fcntl(file, F_DUPFD_CLOEXEC, 0);
  struct stat status {};
  if (shared < 0 || fstat(file, &status) != 0) {
    throw Failure(ExitCode::kFileError, WithCause("cannot be opened", errno));
  }
  auto stream = New<BinaryStream>(shared, writable, static_cast<std::uint64_t>(status.st_size));
  stream->SetLittleEndian(true);
  return stream;
}

void CheckReadFault(const ZipArchiveData& archive) {
  const Ref<BinaryStream>& stream = archive.zipStream;
  if (stream && stream->ReadError()) {
    throw Failure(ExitCode::kFileError, WithCause("cannot be read", -stream->ReadErrorCode()));
  }
}

Ref<ZipArchive> OpenForReading(int file, const std::string& path, const std::string& encoding) {
  Ref<ZipArchive> archive = NewArchive(encoding);
  archive->d->theFile = GetFolderItem(String::Bytes(path));
  archive->d->zipStream = StreamOver(file, false);
  try {
    archive->z_readDirectory();
  } catch (const RuntimeException&) {
    archive->errmsg = "Unexpected error (exception)";
  }
  CheckReadFault(*archive->d);
  if (!archive->entriesRead && !ReadEndRecordAlone(*archive, file)) {
    throw Failure(ExitCode::kBadArchive, Utf8(archive->ErrorMessage()));
  }
  return archive;
}

Ref<ZipArchive> OpenForReading(const std::string& path, const std::string& encoding) {
  return OpenForReading(OpenRegularFile(path, O_RDONLY).Number(), path, encoding);
}

}  // namespace vantorel::forkzip
