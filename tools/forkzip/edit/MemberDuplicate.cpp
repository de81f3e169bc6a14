#include "tools/forkzip/edit/MemberDuplicate.h"

#include "platform/base/LittleEndian.h"
#include "tools/forkzip/cli/FileBytes.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/edit/Preflight.h"
#include "tools/forkzip/edit/RecordKey.h"
#include "tools/forkzip/edit/StoredNames.h"
#include "tools/forkzip/read/MemberFacts.h"
#include "zip/records/MemberExtents.h"
#include "zip/records/ZipRecords.h"

namespace vantorel::forkzip {

namespace {

// A decryption is checked against the time where there is a data descriptor, and against the CRC where there
// is none: encrypted data keeps its own.
bool NeedsDescriptor(std::uint32_t local_flags) {
  constexpr auto kBoth = static_cast<std::uint32_t>(ZipFlags::kEncrypted | ZipFlags::kDataDescriptor);
  return (local_flags & kBoth) == kBoth;
}

// Writes a second member with the data of `source` to `to` at `at`. Returns its record; `at` moves behind it.
RawRecord AppendDuplicate(int from, const RawRecord& source, const std::string& name,
                          const ZipArchiveData& archive, int to, std::uint32_t& at) {
  std::string header = ReadAt(from, source.Offset(), LocalHeader::kSize);
  const std::uint32_t name_length = Get16(header, LocalHeader::kNameLength);
  const std::uint32_t extra_length = Get16(header, LocalHeader::kExtraLength);
  const std::uint64_t extra_begin = std::uint64_t{source.Offset()} + LocalHeader::kSize + name_length;
  std::uint32_t flags = FlagsForName(Get16(header, LocalHeader::kFlags), name, archive);
  const std::string sizes =
      LittleEndian32(source.Crc()) + LittleEndian32(source.CompressedSize()) + LittleEndian32(source.Size());
  std::string descriptor;
  if (NeedsDescriptor(flags)) {
    descriptor = LittleEndian32(DataDescriptor::kMagic) + sizes;
  } else {
    // The sizes are known, so no data descriptor is needed behind the data.
    flags &= ~static_cast<std::uint32_t>(ZipFlags::kDataDescriptor);
    header.replace(LocalHeader::kCrc, sizes.size(), sizes);
  }
  header.replace(LocalHeader::kFlags, 2, LittleEndian16(flags));
  header.replace(LocalHeader::kNameLength, 2, LittleEndian16(static_cast<std::uint32_t>(name.size())));
  header += name + ReadAt(from, extra_begin, extra_length);

  RawRecord record = source;
  record.SetName(name);
  record.SetFlags(flags);
  record.SetOffset(at);
  WriteAt(to, at, header);
  at += static_cast<std::uint32_t>(header.size());
  CopyBytes(from, extra_begin + extra_length, to, at, source.CompressedSize());
  at += source.CompressedSize();
  WriteAt(to, at, descriptor);
  at += static_cast<std::uint32_t>(descriptor.size());
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
    directory.records.push_back(
        AppendDuplicate(from, sources.records[i], names[i], *entry->d, to, directory.start));
  }
  return directory;
}

}  // namespace vantorel::forkzip
