#include "tools/forkzip/edit/MemberCopy.h"

#include <unordered_set>
#include <vector>

#include "platform/base/ByteOrder.h"
#include "platform/files/FileCalls.h"
#include "platform/text/TextFunctions.h"
#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/edit/Preflight.h"
#include "tools/forkzip/read/Verification.h"
#include "zip/records/ExtraRecords.h"
#include "zip/records/MemberExtents.h"
#include "zip/records/ZipRecords.h"

namespace vantorel::forkzip {

namespace {

constexpr auto kDescriptorFlag = static_cast<std::uint32_t>(ZipFlags::kDataDescriptor);

struct Source {
  RawRecord record;
  std::string name;  // of its copy
};

// A decryption is checked against the time where there is a data descriptor, and against the CRC where there
// is none: encrypted data keeps its own.
bool NeedsDescriptor(std::uint32_t local_flags) {
  constexpr auto kBoth = static_cast<std::uint32_t>(ZipFlags::kEncrypted) | kDescriptorFlag;
  return (local_flags & kBoth) == kBoth;
}

// Whether a local header, with its name, tells the same as the record. Of a fake duplicate, which shares the
// header of another member, only the record has the flag of a data descriptor, and a name of its own.
bool HeadersAgree(std::string_view local, const RawRecord& record) {
  constexpr std::size_t kSumAndSizes = 12;
  const std::string_view central = record.Bytes();
  const std::uint32_t flags = Get16(local, LocalHeader::kFlags);
  const bool is_fake = (record.Flags() & ~flags & kDescriptorFlag) != 0;
  return ((flags ^ record.Flags()) & ~kDescriptorFlag) == 0 &&
         Get16(local, LocalHeader::kMethod) == Get16(central, CentralHeader::kMethod) &&
         (is_fake || (Get16(local, LocalHeader::kNameLength) == record.Name().size() &&
                      local.substr(LocalHeader::kSize) == record.Name())) &&
         ((flags & kDescriptorFlag) != 0 ||
          local.substr(LocalHeader::kCrc, kSumAndSizes) == central.substr(CentralHeader::kCrc, kSumAndSizes));
}

void CheckHeader(int file, const RawRecord& record) {
  const std::string header = ReadAt(file, record.Offset(), LocalHeader::kSize + record.Name().size());
  if (!HeadersAgree(header, record)) Preflight::Refuse("its local header contradicts the directory");
}

// What cannot be unpacked here, like encrypted data, is not looked into.
void CheckSound(const Ref<ZipEntry>& entry) {
  const std::int32_t method = entry->CompressionMethod();
  if (entry->IsEncrypted() || (method != ZipMethod::kStored && method != ZipMethod::kDeflated)) return;
  try {
    Verify(entry);
  } catch (const Failure& fault) {
    if (fault.Code() != ExitCode::kBadArchive) throw;
    Preflight::Refuse(std::string("the member is damaged: ") + fault.what());
  }
}

// It would tell the old name.
std::string WithoutUnicodePath(std::string_view extra) {
  const std::string_view path = ExtraRecord::Find(extra, UnicodePathRecord::kId);
  std::string rest(extra);
  if (!path.empty()) rest.erase(static_cast<std::size_t>(path.data() - extra.data()), path.size());
  return rest;
}

// Writes the copy to `to` at `at`. Returns its record; `at` moves behind it.
RawRecord WriteCopy(int from, const Source& source, const ZipArchiveData& archive, int to,
                    std::uint32_t& at) {
  RawRecord record = source.record;
  std::string header = ReadAt(from, record.Offset(), LocalHeader::kSize);
  const std::uint32_t name_length = Get16(header, LocalHeader::kNameLength);
  const std::uint32_t extra_length = Get16(header, LocalHeader::kExtraLength);
  const std::uint64_t extra_begin = std::uint64_t{record.Offset()} + LocalHeader::kSize + name_length;
  std::uint32_t flags = FlagsForName(Get16(header, LocalHeader::kFlags), source.name, archive);
  const std::string sizes =
      LittleEndian32(record.Crc()) + LittleEndian32(record.CompressedSize()) + LittleEndian32(record.Size());
  std::string descriptor;
  if (NeedsDescriptor(flags)) {
    descriptor = LittleEndian32(DataDescriptor::kMagic) + sizes;
  } else {
    // The sizes are known, so no data descriptor is needed behind the data.
    flags &= ~kDescriptorFlag;
    header.replace(LocalHeader::kCrc, sizes.size(), sizes);
  }
  header.replace(LocalHeader::kFlags, 2, LittleEndian16(flags));
  header.replace(LocalHeader::kNameLength, 2, LittleEndian16(static_cast<std::uint32_t>(source.name.size())));
  const std::string extra = WithoutUnicodePath(ReadAt(from, extra_begin, extra_length));
  header.replace(LocalHeader::kExtraLength, 2, LittleEndian16(static_cast<std::uint32_t>(extra.size())));
  header += source.name + extra;

  record.SetName(source.name);
  record.SetExtra(WithoutUnicodePath(record.Extra()));
  record.SetFlags(flags);
  record.SetOffset(at);
  WriteAt(to, at, header);
  at += static_cast<std::uint32_t>(header.size());
  CopyBytes(from, extra_begin + extra_length, to, at, record.CompressedSize());
  at += record.CompressedSize();
  WriteAt(to, at, descriptor);
  at += static_cast<std::uint32_t>(descriptor.size());
  return record;
}

// The name of a companion for a member called `name`, in the tree that the companion `model` lies in. The
// engine knows that tree in any letter case.
std::string CompanionName(std::string_view model, std::string name) {
  constexpr std::string_view kTree = "__MACOSX/";
  const std::string tree(model.substr(0, kTree.size()));
  if (name.back() == '/') name.pop_back();
  name.insert(name.find_last_of('/') + 1, "._");  // at the front where there is no slash
  return (SameText(String::Bytes(tree), String::Bytes(kTree)) ? tree : "") + name;
}

std::vector<Source> SourcesOf(const RawDirectory& directory, const Ref<ZipEntry>& entry,
                              const std::string& name) {
  std::vector<Source> sources = {{RecordOf(directory, entry), name}};
  for (Ref<ZipEntry> held = entry->appleDoubleEntry; held; held = held->appleDoubleEntry) {
    const RawRecord& companion = RecordOf(directory, held);
    sources.push_back({companion, CompanionName(companion.Name(), sources.back().name)});
  }
  return sources;
}

// Raises Failure unless the sources lie where they should and their copies fit in behind the old members.
void CheckSources(const ArchiveEdit& edit, const std::vector<Source>& sources) {
  RawDirectory of_sources = edit.Before();
  of_sources.records.clear();
  std::uint64_t needed = 0;
  for (const Source& source : sources) {
    constexpr std::uint64_t kLongestHeaders = 1U << 17U;
    Preflight::CheckName(source.name);
    of_sources.records.push_back(source.record);
    needed += source.record.CompressedSize() + 2 * source.name.size() + kLongestHeaders;
  }
  Preflight::CheckSize(edit.Before().end + needed);
  ExtentsOf(edit.From(), of_sources);
}

// The copies are called `name`, lie in that folder, or are companions. A folder of that name counts as taken
// too, since the copies would mix with what lies in it.
void CheckNamesAreFree(const std::vector<RawRecord>& kept, const std::vector<Source>& sources,
                       const std::string& name) {
  std::unordered_set<std::string_view> taken;
  for (const RawRecord& record : kept) taken.insert(WithoutSlash(record.Name()));
  std::vector<std::string> names = {std::string(WithoutSlash(name))};
  for (const Source& source : sources) {
    if (source.name.empty()) continue;
    if (taken.contains(WithoutSlash(source.name))) Preflight::Refuse(source.name + ": exists already");
    names.push_back(source.name);
  }
  Preflight::CheckPlaces(kept, names);
}

}  // namespace

RawDirectory DuplicateMember(ArchiveEdit& edit, const Ref<ZipEntry>& entry, const std::string& name) {
  const std::vector<Source> sources = SourcesOf(edit.Before(), entry, name);
  CheckNamesAreFree(edit.Before().records, sources, name);
  CheckSources(edit, sources);
  Preflight::CheckCount(edit.Before().records.size() + sources.size());
  CheckHeader(edit.From(), sources.front().record);
  CheckSound(entry);

  RawDirectory after = edit.MakeRoomBehindMembers();
  for (const Source& source : sources) {
    after.records.push_back(WriteCopy(edit.From(), source, *entry->d, edit.To(), after.start));
  }
  return after;
}

void AddNewName(NewNames& names, const Ref<ZipEntry>& entry, const std::string& name) {
  // A record without a name goes on taking over the one of the record before it, which is renamed too.
  names[KeyOf(entry)] = NameInRecord(entry).empty() ? "" : name;
  const Ref<ZipEntry>& companion = entry->appleDoubleEntry;
  if (companion) AddNewName(names, companion, CompanionName(NameInRecord(companion), name));
}

RawDirectory RenameMembers(ArchiveEdit& edit, const NewNames& names, const std::string& name) {
  RawDirectory kept = edit.Before();
  std::vector<Source> sources;
  std::erase_if(kept.records, [&](const RawRecord& record) {
    const auto renamed = names.find(KeyOf(record));
    if (renamed == names.end()) return false;
    CheckHeader(edit.From(), record);
    sources.push_back({record, renamed->second});
    return true;
  });
  CheckNamesAreFree(kept.records, sources, name);
  CheckSources(edit, sources);
  if (edit.IsInPlace()) {
    kept.start = edit.MakeRoomBehindMembers().start;
  } else {
    edit.MoveTogether(kept);
  }
  RawDirectory after = edit.Before();
  after.start = kept.start;
  auto next_kept = kept.records.begin();
  auto source = sources.begin();
  for (RawRecord& record : after.records) {
    record = names.contains(KeyOf(record))
                 ? WriteCopy(edit.From(), *source++, *edit.Archive()->d, edit.To(), after.start)
                 : *next_kept++;
  }
  return after;
}

}  // namespace vantorel::forkzip
