#include "tools/forkzip/MemberDuplicate.h"

#include "tools/forkzip/FileBytes.h"
#include "tools/forkzip/LittleEndian.h"
#include "tools/forkzip/MemberExtents.h"
#include "tools/forkzip/MemberFacts.h"
#include "tools/forkzip/Preflight.h"
#include "tools/forkzip/Printable.h"
#include "tools/forkzip/Problems.h"
#include "tools/forkzip/RecordKey.h"
#include "zip/archive/ZipRecords.h"

namespace vantorel::forkzip {

namespace {

constexpr std::uint32_t kUtf8Flag = 1U << 11U;

// Writes a second member with the data of `source` to `to` at `at`. Returns its record; `at` moves behind it.
RawRecord AppendDuplicate(int from, const RawRecord& source, const std::string& name, int to,
                          std::uint32_t& at) {
  std::string header = ReadAt(from, source.Offset(), LocalHeader::kSize);
  const std::uint32_t name_length = Get16(header, LocalHeader::kNameLength);
  const std::uint32_t extra_length = Get16(header, LocalHeader::kExtraLength);
  const std::uint64_t extra_begin = std::uint64_t{source.Offset()} + LocalHeader::kSize + name_length;
  // The sizes are known, so no data descriptor is needed behind the data.
  std::uint32_t flags =
      Get16(header, LocalHeader::kFlags) & ~static_cast<std::uint32_t>(ZipFlags::kFakeEntry);
  if (!IsAscii(name) && IsUtf8(name)) flags |= kUtf8Flag;
  header.replace(LocalHeader::kFlags, 2, LittleEndian16(flags));
  header.replace(LocalHeader::kCrc, 4, LittleEndian32(source.Crc()));
  header.replace(LocalHeader::kCompressedSize, 4, LittleEndian32(source.CompressedSize()));
  header.replace(LocalHeader::kUncompressedSize, 4, LittleEndian32(source.Size()));
  header.replace(LocalHeader::kNameLength, 2, LittleEndian16(static_cast<std::uint32_t>(name.size())));
  header += name + ReadAt(from, extra_begin, extra_length);

  RawRecord record = source;
  record.SetName(name);
  record.SetFlags(flags);
  record.SetOffset(at);
  WriteAt(to, at, header);
  CopyBytes(from, extra_begin + extra_length, to, at + header.size(), source.CompressedSize());
  at += static_cast<std::uint32_t>(header.size()) + source.CompressedSize();
  return record;
}

const RawRecord& RecordOf(const RawDirectory& directory, const Ref<ZipEntry>& entry) {
  const RecordKey key = KeyOf(entry);
  for (const RawRecord& record : directory.records) {
    if (record.Offset() == key.first && record.Name() == key.second) return record;
  }
  throw Failure(ExitCode::kBadArchive, "the directory is damaged");
}

// The name of a companion for a member called `name`, in the tree that the companion `model` lies in.
std::string CompanionName(std::string_view model, std::string name) {
  constexpr std::string_view kTree = "__MACOSX/";
  if (name.back() == '/') name.pop_back();
  name.insert(name.find_last_of('/') + 1, "._");  // at the front where there is no slash
  return (model.starts_with(kTree) ? std::string(kTree) : "") + name;
}

}  // namespace

RawDirectory AddDuplicate(int from, RawDirectory directory, const Ref<ZipEntry>& entry,
                          const std::string& name, int to) {
  const std::uint64_t needed = std::uint64_t{CompressedSizeOf(entry)} + name.size() + (1U << 17U);
  Preflight::CheckSize(directory.end + needed);
  Preflight::CheckCount(directory.records.size() + (entry->appleDoubleEntry ? 2 : 1));
  RawDirectory sources = directory;
  sources.records = {RecordOf(directory, entry)};
  std::vector<std::string> names = {name};
  if (entry->appleDoubleEntry) {
    const RawRecord companion = RecordOf(directory, entry->appleDoubleEntry);
    names.push_back(CompanionName(companion.Name(), name));
    sources.records.push_back(companion);
  }
  for (const std::string& each : names) Preflight::CheckName(each);
  ExtentsOf(from, sources);  // raises if they are damaged
  for (std::size_t i = 0; i < names.size(); ++i) {
    directory.records.push_back(AppendDuplicate(from, sources.records[i], names[i], to, directory.start));
  }
  return directory;
}

}  // namespace vantorel::forkzip
