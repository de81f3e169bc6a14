#include "tools/forkzip/extract/Extraction.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <set>
#include <span>

#include "platform/files/FileCalls.h"
#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/extract/FileSink.h"
#include "tools/forkzip/extract/ForkSink.h"
#include "tools/forkzip/extract/Provisional.h"
#include "tools/forkzip/extract/SafePath.h"
#include "tools/forkzip/read/ByteSinks.h"
#include "tools/forkzip/read/MemberFacts.h"
#include "tools/forkzip/read/Verification.h"
#include "zip/archive/CarriedName.h"
#include "zip/extract/MacBinaryHeader.h"

namespace vantorel::forkzip {

namespace {

std::span<const std::string> FoldersOf(const std::vector<std::string>& path) {
  return std::span(path).first(path.size() - 1);
}

std::string LinkTargetOf(const Ref<ZipEntry>& entry) {
  constexpr std::uint32_t kLongest = 4095;
  if (SizeOf(entry) > kLongest) {
    throw Failure(ExitCode::kBadArchive,
                  "refused: the target of the symbolic link is longer than 4095 bytes");
  }
  const auto sink = New<KeepingSink>(kLongest);
  Ref<MemoryBlock> header_block;
  CheckStreamed(entry, entry->Extract(false, sink, nil, header_block));
  return sink->Bytes();
}

void SetTimes(int folder, const std::string& name, std::time_t time) {
  const std::array<timespec, 2> times = {timespec{time, 0}, timespec{time, 0}};
  utimensat(folder, name.c_str(), times.data(), AT_SYMLINK_NOFOLLOW);
}

// Puts a symbolic link in the place of a file or link. 0, or the system's error.
int ReplaceByLink(const std::string& target, int folder, const std::string& name) {
  const std::string made = ProvisionalName();
  if (symlinkat(target.c_str(), folder, made.c_str()) != 0) return errno;
  const int error = Rename(folder, made, name, IfTaken::kReplace);
  if (error != 0) unlinkat(folder, made.c_str(), 0);
  return error;
}

}  // namespace

Extraction::Extraction(const std::string& root, const ExtractionWays& ways, Problems& problems)
    : destination_(root, ways.overwrite), ways_(ways), problems_(&problems), side_files_(ways.overwrite) {}

template <typename Work>
void Extraction::Guarded(const Ref<ZipEntry>& entry, Work work) {
  try {
    work();
  } catch (const Failure& failure) {
    if (!Interruption::Requested()) problems_->Add(failure.Code(), Utf8(entry->RawPath()), failure.what());
  } catch (const RuntimeException& fault) {
    problems_->Add(ExitCode::kBadArchive, Utf8(entry->RawPath()), fault.what());
  }
}

void Extraction::Extract(const Ref<ZipEntry>& entry) {
  if (!IsPassedOver(entry, ways_.strip)) Guarded(entry, [&] { Place(entry); });
  const Ref<ZipEntry>& companion = entry->appleDoubleEntry;
  if (!ways_.raw || !companion || IsPassedOver(companion, ways_.strip)) return;
  // As it stands it is a member like any other.
  companion->thisIsTheAppleDoubleEntry = false;
  Guarded(companion, [&] { Place(companion); });
}

const Extraction::Components& Extraction::PathFor(const Ref<ZipEntry>& entry) {
  const String name = entry->RawPath();
  if (split_path_.empty() || !IsCarriedOver(name, split_name_)) {
    split_path_.clear();
    split_path_ = SafePath(entry, ways_.strip);
    split_name_ = name;
  }
  return split_path_;
}

void Extraction::Place(const Ref<ZipEntry>& entry) {
  const Components& path = PathFor(entry);
  if (!entry->IsDirectory()) RefuseIfNotUnpacked(entry);
  if (entry->IsDirectory()) {
    destination_.Folder(path);
    if (path.empty()) {
      ++extracted_;  // the destination itself
    } else {
      folders_.push_back({entry, path.size()});
    }
  } else if (IsSymbolicLink(entry)) {
    destination_.Folder(FoldersOf(path));
    links_.push_back(entry);
  } else if (IsWanted(entry, path)) {
    ExtractFile(entry, destination_, path, ways_, side_files_);
    ++extracted_;
  }
}

bool Extraction::IsWanted(const Ref<ZipEntry>& entry, const Components& path) {
  return !ways_.newer || IsNewerThanThere(entry, destination_.Folder(FoldersOf(path)), path.back());
}

void Extraction::Finish() {
  for (const Ref<ZipEntry>& entry : links_) Guarded(entry, [&] { MakeLink(entry); });
  // From the innermost out: what happens in a folder changes its time, and its mode may close it.
  std::stable_sort(folders_.begin(), folders_.end(),
                   [](const Waiting& a, const Waiting& b) { return a.depth > b.depth; });
  for (const Waiting& folder : folders_) Guarded(folder.entry, [&] { FinishFolder(folder.entry); });
}

void Extraction::Clear(const std::vector<Ref<ZipEntry>>& entries) {
  std::set<std::string> cleared;
  for (const Ref<ZipEntry>& entry : entries) {
    try {
      const Components& path = PathFor(entry);
      if (path.empty() || entry->IsDirectory() || !destination_.HasFolder(FoldersOf(path))) continue;
      const int folder = destination_.Folder(FoldersOf(path));
      if (IsUnfinished(KindOf(folder, path.back()))) unlinkat(folder, path.back().c_str(), 0);
      const std::string place = destination_.PathOf(FoldersOf(path));
      if (cleared.insert(place).second) ClearProvisional(place);
    } catch (const Failure&) {
      // Nothing of it is there.
    }
  }
}

void Extraction::MakeLink(const Ref<ZipEntry>& entry) {
  const Components& path = PathFor(entry);
  if (!IsWanted(entry, path)) return;
  const std::string target = LinkTargetOf(entry);
  CheckLinkTarget(target, FoldersOf(path), destination_);
  const int folder = destination_.Folder(FoldersOf(path));
  const std::string& name = path.back();
  int error = symlinkat(target.c_str(), folder, name.c_str()) == 0 ? 0 : errno;
  if (error == EEXIST && ways_.overwrite) error = ReplaceByLink(target, folder, name);
  if (error != 0) FailToPlace(folder, name, error, ways_.overwrite);
  if (const auto time = TimeOf(entry)) SetTimes(folder, name, *time);
  ++extracted_;
}

void Extraction::FinishFolder(const Ref<ZipEntry>& entry) {
  const Components& path = PathFor(entry);
  const int folder = destination_.Folder(path);
  if (const auto time = TimeOf(entry)) SetTimes(folder, ".", *time);
  if (const auto mode = PermissionsOf(entry)) fchmod(folder, *mode);
  if (!ways_.raw) ApplyFolderData(entry, path);
  ++extracted_;
}

// The engine looks at nothing but a header in a folder's data, so the companion is streamed as a member of
// its own here. The fork, which few folders have, and Finder data go beside the folder.
void Extraction::ApplyFolderData(const Ref<ZipEntry>& entry, const Components& path) {
  const Ref<ZipEntry>& companion = entry->appleDoubleEntry;
  if (companion || SizeOf(entry) != 0) Verify(entry);
  Ref<MemoryBlock> header_block;
  if (!companion && SizeOf(entry) == MacBinaryHeader::kSize) entry->Extract(true, nil, nil, header_block);
  if (!companion && !entry->HasMacAttributes(header_block)) return;
  const int parent = destination_.Folder(FoldersOf(path));
  side_files_.CheckSideFile(parent, destination_.PathOf(FoldersOf(path)), path.back());
  Ref<FolderItem> item = GetFolderItem(String::Bytes(destination_.PathOf(path)));
  const auto fork = New<ForkSink>([&] { return item; });
  const bool good = !companion || companion->z_unzip(nil, fork, true, false, header_block);
  CheckMacData(fork->errCode, path.back());
  if (!good) CheckStreamed(companion, good);
  CheckMacData(entry->ApplyMacAttributes(item, header_block), path.back());
  side_files_.NoteSideFile(parent, path.back());
}

}  // namespace vantorel::forkzip
