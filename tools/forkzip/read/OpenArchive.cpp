#include "tools/forkzip/read/OpenArchive.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "platform/base/ByteOrder.h"
#include "platform/files/FileCalls.h"
#include "platform/text/Utf8.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/cli/StandardStreams.h"
#include "tools/forkzip/read/CorrectedArchive.h"
#include "zip/records/FormatError.h"
#include "zip/records/RawDirectory.h"
#include "zip/records/ZipRecords.h"

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

// Letters of European languages; in the other encoding the same byte is a sign or part of a box, as a rule.
bool IsLetterInCp437(unsigned char byte) {
  constexpr unsigned char kSharpS = 0xE1;
  return (byte >= 0x80 && byte <= 0xA5) || byte == kSharpS;
}
bool IsLetterInWindows1252(unsigned char byte) {
  return byte >= 0xC0;
}

// The most plausible of the encodings, by the bytes of the names that are not marked as UTF-8.
std::string GuessEncoding(const Ref<ZipArchive>& archive) {
  bool all_utf8 = true;
  bool from_mac = false;
  std::size_t cp437 = 0;
  std::size_t windows1252 = 0;
  for (std::int32_t i = 1; i <= archive->EntryCount(); ++i) {
    const Ref<ZipEntry> entry = archive->Entry(i);
    const std::string_view name = entry->zipEncName.view();
    if ((entry->HeaderUShort(CentralHeader::kFlags) & ZipFlags::kUtf8Name) != 0 || IsUtf8(name)) continue;
    all_utf8 = false;
    from_mac = from_mac || entry->OSMadeBy() == ZipHost::kMacintosh;
    for (const char each : name) {
      const auto byte = static_cast<unsigned char>(each);
      if (IsLetterInCp437(byte)) ++cp437;
      if (IsLetterInWindows1252(byte)) ++windows1252;
    }
  }
  if (all_utf8) return "utf-8";
  if (from_mac) return "mac-roman";
  return windows1252 > cp437 ? "windows-1252" : "cp437";
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

// The engine's reading, whose errors are left in the archive. Raises Failure where the disk cannot be read.
Ref<ZipArchive> ReadDirectory(const Ref<BinaryStream>& stream, const std::string& path,
                              const std::string& encoding) {
  Ref<ZipArchive> archive = NewArchive(encoding);
  archive->d->theFile = GetFolderItem(String::Bytes(path));
  archive->d->zipStream = stream;
  try {
    archive->z_readDirectory();
  } catch (const RuntimeException&) {
    archive->errmsg = "Unexpected error (exception)";
  }
  CheckReadFault(*archive->d);
  return archive;
}

// A file of which some bytes are read otherwise than they stand there.
class PatchedStream : public BinaryStream {
 public:
  PatchedStream(int descriptor, std::uint64_t length, Patches patches)
      : BinaryStream(descriptor, false, length), patches_(std::move(patches)) {}

 protected:
  std::int64_t ReadAt(char* buffer, std::size_t count, std::uint64_t position) override {
    const std::int64_t got = BinaryStream::ReadAt(buffer, count, position);
    if (got <= 0 || patches_.empty()) return got;
    const std::uint64_t end = position + static_cast<std::uint64_t>(got);
    constexpr std::uint64_t kLongest = 8;
    for (auto at = patches_.lower_bound(position - std::min(position, kLongest));
         at != patches_.end() && at->first < end; ++at) {
      const std::uint64_t first = std::max(at->first, position);
      const std::uint64_t last = std::min(at->first + at->second.size(), end);
      if (first < last) {
        std::copy_n(at->second.data() + (first - at->first), last - first, buffer + (first - position));
      }
    }
    return got;
  }

 private:
  Patches patches_;
};

// The engine reads a directory that is put right, and then the members where they are. nil if that cannot be.
Ref<ZipArchive> ReadCorrected(int file, const std::string& path, const std::string& encoding,
                              CorrectedArchive corrected) {
  const Descriptor directory(memfd_create("directory", MFD_CLOEXEC));
  if (!directory.IsOpen()) throw SystemFailure("not enough memory", errno);
  WriteAt(directory.Number(), 0, LittleEndian32(LocalHeader::kMagic) + corrected.directory);
  Ref<ZipArchive> archive = ReadDirectory(StreamOver(directory.Number(), false), path, encoding);
  if (!archive->entriesRead) return nil;
  archive->centralDirCorrupted = corrected.count_is_wrong;
  const Ref<BinaryStream> plain = StreamOver(file, false);
  archive->d->zipStream =
      New<PatchedStream>(fcntl(file, F_DUPFD_CLOEXEC, 0), plain->Length(), std::move(corrected.patches));
  archive->d->zipStream->SetLittleEndian(true);
  return archive;
}

Ref<ZipArchive> OpenCorrected(int file, const std::string& path, const std::string& encoding) {
  try {
    return ReadCorrected(file, path, "utf-8",
                         CorrectedArchive::Make(file, NewArchive(encoding)->d->archiveEncoding));
  } catch (const SplitArchiveError& split) {
    throw Failure(ExitCode::kBadArchive, split.what());
  } catch (const FormatError&) {
    return nil;
  }
}

// What an archive that the engine cannot read has of its own; empty if nothing. Raises FormatError if nothing
// can be read of it.
std::string WhatIsUnusual(int file) {
  const FoundDirectory found = FoundDirectory::Find(file);
  if (found.records.empty()) return {};
  for (const RawRecord& record : found.records) {
    const std::uint32_t version = record.Field16(CentralHeader::kVersionNeeded);
    if (version <= kZipFormatVersion) continue;
    return "its member " + Printable(record.Name()) + " needs version " + std::to_string(version / 10) + "." +
           std::to_string(version % 10) + " of the format";
  }
  if (found.zip64) return "it is in Zip64 format";
  const bool in_front = found.shift != 0 || Get32(ReadAt(file, 0, 4), 0) != LocalHeader::kMagic;
  return in_front ? "other data stands in front of its first member" : "";
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
    throw SystemFailure("cannot be opened", errno);
  }
  auto stream = New<BinaryStream>(shared, writable, static_cast<std::uint64_t>(status.st_size));
  stream->SetLittleEndian(true);
  return stream;
}

void CheckReadFault(const ZipArchiveData& archive) {
  const Ref<BinaryStream>& stream = archive.zipStream;
  if (stream && stream->ReadError()) {
    throw SystemFailure("cannot be read", -stream->ReadErrorCode());
  }
}

Ref<ZipArchive> OpenForEditing(int file, const std::string& path, const std::string& encoding) {
  Ref<ZipArchive> archive = ReadDirectory(StreamOver(file, false), path, encoding);
  if (archive->entriesRead && CorrectedArchive::HasForeignCompanions(archive)) {
    const Ref<ZipArchive> paired =
        ReadCorrected(file, path, encoding, CorrectedArchive::WithCompanions(RawDirectory::Read(file)));
    return paired ? paired : archive;
  }
  if (archive->entriesRead || ReadEndRecordAlone(*archive, file)) return archive;
  std::string why;
  try {
    why = WhatIsUnusual(file);
  } catch (const SplitArchiveError& split) {
    throw Failure(ExitCode::kBadArchive, split.what());
  } catch (const FormatError&) {
    // Then the engine tells what is wrong.
  }
  if (why.empty()) throw Failure(ExitCode::kBadArchive, Utf8(archive->ErrorMessage()));
  throw Failure(ExitCode::kBadArchive,
                "not changed: " + why + "; extract what it holds and make a new archive of that");
}

Ref<ZipArchive> OpenForReading(const std::string& path, const std::string& encoding, std::string* guess) {
  const Descriptor file = path == kStandardStream ? StandardInput() : OpenRegularFile(path, O_RDONLY);
  const auto open = [&](const std::string& names) {
    Ref<ZipArchive> plain = ReadDirectory(StreamOver(file.Number(), false), path, names);
    const bool good =
        plain->entriesRead ? !CorrectedArchive::IsNeeded(plain) : ReadEndRecordAlone(*plain, file.Number());
    const Ref<ZipArchive> corrected = good ? nil : OpenCorrected(file.Number(), path, names);
    return corrected ? corrected : plain;
  };
  const bool guessing = encoding == "auto";
  Ref<ZipArchive> archive = open(guessing ? "utf-8" : encoding);
  if (!archive->entriesRead) throw Failure(ExitCode::kBadArchive, Utf8(archive->ErrorMessage()));
  if (guessing) {
    const std::string likely = GuessEncoding(archive);
    if (likely != "utf-8") archive = open(likely);
    if (guess != nullptr) *guess = likely;
  }
  // The process ends without its statics being taken apart, which takes a while with a large directory.
  static Ref<ZipArchive> until_the_end;
  return until_the_end = archive;
}

}  // namespace vantorel::forkzip
