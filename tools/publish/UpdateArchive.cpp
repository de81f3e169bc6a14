#include "tools/publish/UpdateArchive.h"

#include <cstdint>

#include "platform/compress/Crc32.h"
#include "platform/files/BinaryStream.h"
#include "platform/text/TextFunctions.h"
#include "tools/publish/PublishError.h"
#include "zip/archive/ZipArchive.h"
#include "zip/records/ZipRecords.h"

namespace vantorel::publish {
namespace {

[[noreturn]] void Fail(const std::string& path, const String& why) {
  throw PublishError(ExitCode::kFileError, path + ": " + std::string(why.view()));
}

// A file with a resource fork goes in as MacBinary: its size and sum in the archive are those of the
// wrapping.
bool IsWrapped(const AppFile& file) {
  return file.item->ResourceForkLength() > 0;
}

String Text(const std::string& text) {
  return String::Adopt(text, Encodings::UTF8());
}

std::int32_t SumOfFile(const AppFile& file) {
  constexpr std::int32_t kChunk = 1 << 16;
  const Ref<BinaryStream> stream = file.item->OpenAsBinaryFile(false);
  if (!stream) Fail(file.path, "cannot be read");
  std::int32_t sum = 0;
  for (String chunk = stream->Read(kChunk); !chunk.empty(); chunk = stream->Read(kChunk))
    sum = Crc32(chunk, sum);
  stream->Close();
  return sum;
}

void Compare(const std::string& archive, const Ref<ZipEntry>& entry, const AppFile& file) {
  const auto differs = [&](const std::string& what) {
    Fail(archive, Text("reading back " + file.path + ": " + what));
  };
  if (entry->RawPath().view() != file.path) differs("the name is another");
  std::uint16_t mode = 0;
  if (file.item->GetUnixMode(mode) != 0) differs("the file has gone meanwhile");
  if ((static_cast<std::uint32_t>(entry->ExternalFileAttributes()) >> 16) != mode)
    differs("the mode is another");
  if (entry->IsDirectory()) return;
  if (!entry->Verify()) differs(std::string(entry->ErrorMessage().view()));
  if (IsWrapped(file)) return;
  if (static_cast<std::uint64_t>(entry->Size()) != file.size) differs("the size is another");
  if (entry->z_Header()->Long(CentralHeader::kCrc) != SumOfFile(file)) differs("the content is another");
}

}  // namespace

void MakeArchive(const std::string& path, const std::vector<AppFile>& files) {
  const auto archive = New<ZipArchive>();
  if (!archive->Open(GetFolderItem(Text(path)), true)) Fail(path, archive->ErrorMessage());
  archive->PreserveUnixPermissions(true);
  for (const AppFile& file : files) {
    if (archive->AddItemWithRawPath(file.item, Text(file.path), archive->MacBinarySmart()) < 1) {
      const String why = archive->ErrorMessage();
      archive->Close();
      Fail(file.path, why);
    }
  }
  if (!archive->Close()) Fail(path, archive->ErrorMessage());
}

void VerifyArchive(const std::string& path, const std::vector<AppFile>& files) {
  const auto archive = New<ZipArchive>();
  if (!archive->Open(GetFolderItem(Text(path)), false)) Fail(path, archive->ErrorMessage());
  if (static_cast<std::size_t>(archive->EntryCount()) != files.size()) {
    Fail(path, "reading back: the count of members is another");
  }
  for (std::size_t i = 0; i < files.size(); ++i) {
    Compare(path, archive->Entry(static_cast<std::int32_t>(i) + 1), files[i]);
  }
  archive->Close();
}

}  // namespace vantorel::publish
