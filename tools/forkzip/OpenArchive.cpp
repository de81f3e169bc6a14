#include "tools/forkzip/OpenArchive.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "tools/forkzip/FileBytes.h"
#include "tools/forkzip/Printable.h"
#include "tools/forkzip/Problems.h"

namespace vantorel::forkzip {

namespace {

// The engine only says that opening failed; this says why.
void CheckThatItOpens(const std::string& path) {
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file.IsOpen()) {
    const ExitCode code = errno == ENOENT ? ExitCode::kBadArchive : ExitCode::kFileError;
    throw Failure(code, WithCause("cannot be opened", errno));
  }
  struct stat status {};
  if (fstat(file.Get(), &status) == 0 && !S_ISREG(status.st_mode)) {
    throw Failure(ExitCode::kFileError, S_ISDIR(status.st_mode) ? "is a folder" : "is not a regular file");
  }
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

Ref<ZipArchive> OpenForReading(const std::string& path, const std::string& encoding) {
  CheckThatItOpens(path);
  auto archive = New<ZipArchive>();
  if (!archive->Open(GetFolderItem(String::Bytes(path)), false, EncodingByName(encoding))) {
    throw Failure(ExitCode::kBadArchive, Utf8(archive->ErrorMessage()));
  }
  return archive;
}

Ref<ZipArchive> OpenForWriting(const std::string& path, const std::string& encoding) {
  auto archive = New<ZipArchive>();
  if (!archive->Open(GetFolderItem(String::Bytes(path)), true, EncodingByName(encoding))) {
    throw Failure(ExitCode::kFileError, Utf8(archive->ErrorMessage()));
  }
  if (!archive->IsWritable())
    throw Failure(ExitCode::kBadArchive, "its directory is damaged; it cannot be changed");
  return archive;
}

void CloseWritten(const Ref<ZipArchive>& archive) {
  const Ref<BinaryStream> stream = archive->d->zipStream;
  if (!archive->Close()) throw Failure(ExitCode::kFileError, Utf8(archive->ErrorMessage()));
  if (stream->WriteError()) throw Failure(ExitCode::kFileError, "cannot be written; is the disk full?");
}

}  // namespace vantorel::forkzip
