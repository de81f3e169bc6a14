#include "tools/forkzip/extract/Extraction.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <functional>
#include <set>

#include "platform/files/FileCalls.h"
#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/extract/FileShares.h"
#include "tools/forkzip/extract/FileSink.h"
#include "tools/forkzip/extract/Provisional.h"
#include "tools/forkzip/extract/SafePath.h"
#include "tools/forkzip/jobs/Crew.h"
#include "tools/forkzip/read/ByteSinks.h"
#include "tools/forkzip/read/MemberFacts.h"
#include "tools/forkzip/read/Verification.h"
#include "zip/archive/CarriedName.h"

namespace vantorel::forkzip {

namespace {

std::string LinkTargetOf(const Ref<ZipEntry>& entry) {
  constexpr std::uint32_t kLongest = 4095;
  if (SizeOf(entry) > kLongest) Refuse("the target of the symbolic link is longer than 4095 bytes");
  const auto sink = New<KeepingSink>(kLongest);
  Ref<MemoryBlock> header_block;
  CheckStreamed(entry, entry->Extract(false, sink, nil, header_block));
  return sink->Bytes();
}

void SetTime(int folder, const std::string& name, const Ref<ZipEntry>& entry) {
  const auto time = TimeOf(entry);
  if (!time) return;
  const std::array<timespec, 2> times = {timespec{*time, 0}, timespec{*time, 0}};
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

// Runs `work` for a member, turning a Failure into a problem.
template <typename Work>
std::size_t Guarded(const Ref<ZipEntry>& entry, const Tell& tell, Work work) {
  try {
    return work() ? 1 : 0;
  } catch (const Failure& failure) {
    if (!Interruption::Requested()) tell({failure.Code(), Utf8(entry->RawPath()), failure.what()});
  } catch (const RuntimeException& fault) {
    tell({ExitCode::kBadArchive, Utf8(entry->RawPath()), fault.what()});
  }
  return 0;
}

class Extraction {
 public:
  explicit Extraction(const ExtractionWays& ways)
      : target_{Destination(ways.root), ways, SideFileGuard(ways.overwrite)} {}

  // These give the number of members that are on disk now.
  // Extracts a member, or tells why not. Symbolic links, and the times and modes of folders, wait for Finish.
  std::size_t Extract(const Ref<ZipEntry>& entry, const Tell& tell) {
    const ExtractionWays& ways = target_.ways;
    std::size_t extracted = 0;
    if (!IsPassedOver(entry, ways.strip)) {
      extracted += Guarded(entry, tell, [&] { return Place(entry, tell); });
    }
    const Ref<ZipEntry>& companion = entry->appleDoubleEntry;
    if (!ways.raw || !companion || IsPassedOver(companion, ways.strip)) return extracted;
    // As it stands it is a member like any other.
    companion->thisIsTheAppleDoubleEntry = false;
    return extracted + Guarded(companion, tell, [&] { return Place(companion, tell); });
  }

  std::size_t Finish(const Tell& tell) {
    std::size_t extracted = 0;
    // Links, then folders from the innermost out: what happens in a folder changes its time, and its mode may
    // close it.
    std::ranges::stable_sort(waiting_, std::greater(), &Waiting::depth);
    for (const Waiting& each : waiting_) {
      const Ref<ZipEntry>& entry = each.entry;
      extracted +=
          Guarded(entry, tell, [&] { return entry->IsDirectory() ? FinishFolder(entry) : MakeLink(entry); });
    }
    return extracted;
  }

  // Takes away what killed runs left of members, and in the folders that these belong in.
  void Clear(const std::vector<Ref<ZipEntry>>& entries) {
    Destination& destination = target_.destination;
    std::set<std::string> cleared;
    for (const Ref<ZipEntry>& entry : entries) {
      try {
        const Components& path = PathFor(entry);
        if (path.empty() || !destination.HasFolder(FoldersOf(path))) continue;
        const int folder = destination.Folder(FoldersOf(path));
        const std::string place = destination.PathOf(FoldersOf(path));
        if (cleared.insert(place).second) ClearProvisional(folder, place);
        if (IsUnfinished(KindOf(folder, path.back()))) unlinkat(folder, path.back().c_str(), 0);
      } catch (const Failure&) {
        // Nothing of it is there.
      }
    }
  }

 private:
  using Components = std::vector<std::string>;
  struct Waiting {
    Ref<ZipEntry> entry;
    std::size_t depth;  // the greater, the sooner its turn
  };

  // These raise Failure. What gives a bool tells whether the member is on disk now.
  // Where a member belongs; valid until the next call. Members that share a name in a short archive come one
  // after another, and their common path is split once.
  const Components& PathFor(const Ref<ZipEntry>& entry) {
    const String name = entry->RawPath();
    if (split_path_.empty() || !IsCarriedOver(name, split_name_)) {
      split_path_.clear();
      split_path_ = SafePath(entry, target_.ways.strip);
      split_name_ = name;
    }
    return split_path_;
  }

  bool Place(const Ref<ZipEntry>& entry, const Tell& tell) {
    const Components& path = PathFor(entry);
    if (entry->IsDirectory()) {
      target_.destination.Folder(path);
      if (path.empty()) return true;  // the destination itself
      waiting_.push_back({entry, path.size()});
      return false;
    }
    RefuseIfNotUnpacked(entry);
    if (IsSymbolicLink(entry)) {
      target_.destination.Folder(FoldersOf(path));
      waiting_.push_back({entry, SIZE_MAX});
      return false;
    }
    if (!IsWanted(entry, path)) return false;
    const int error = ExtractFile(entry, target_, path);
    if (error != 0) {
      tell({ExitCode::kDone, Utf8(entry->RawPath()),
            WithCause("its mode or time cannot be stored here", error)});
    }
    return true;
  }

  // Whether --newer lets the member take the place of what is there.
  bool IsWanted(const Ref<ZipEntry>& entry, const Components& path) {
    return !target_.ways.newer ||
           IsNewerThanThere(entry, target_.destination.Folder(FoldersOf(path)), path.back());
  }

  bool MakeLink(const Ref<ZipEntry>& entry) {
    const Components& path = PathFor(entry);
    if (!IsWanted(entry, path)) return false;
    const std::string target = LinkTargetOf(entry);
    CheckLinkTarget(target, FoldersOf(path), target_.destination);
    const int folder = target_.destination.Folder(FoldersOf(path));
    const std::string& name = path.back();
    int error = symlinkat(target.c_str(), folder, name.c_str()) == 0 ? 0 : errno;
    if (error == EEXIST && target_.ways.overwrite) error = ReplaceByLink(target, folder, name);
    if (error != 0) FailToPlace(folder, name, error, target_.ways.overwrite);
    SetTime(folder, name, entry);
    return true;
  }

  bool FinishFolder(const Ref<ZipEntry>& entry) {
    const Components& path = PathFor(entry);
    const int folder = target_.destination.Folder(path);
    SetTime(folder, ".", entry);
    if (const auto mode = PermissionsOf(entry)) fchmod(folder, *mode);
    if (!target_.ways.raw) ExtractFolderData(entry, target_, path);
    return true;
  }

  ExtractionTarget target_;
  String split_name_;
  Components split_path_;
  std::vector<Waiting> waiting_;
};

}  // namespace

std::size_t ExtractAll(const std::vector<Ref<ZipEntry>>& entries, const ExtractionWays& ways, SharedWork work,
                       std::size_t asked_jobs, Progress& progress, Problems& problems) {
  Extraction extraction(ways);
  if (ways.overwrite) extraction.Clear(entries);
  const std::size_t jobs = work.Jobs(asked_jobs);
  if (jobs > 1) ShareOutFiles(work, entries, ways);
  work.run = [&](std::size_t unit, const Tell& tell) {
    progress.Begin(entries[unit]);
    return extraction.Extract(entries[unit], tell);
  };
  work.take = [&](std::size_t, const Told& told) { problems.Add(told.code, told.member, told.message); };
  std::size_t extracted = 0;
  try {
    extracted = DoShared(jobs, work, progress);
  } catch (const Failure&) {
    extraction.Clear(entries);
    throw;
  }
  if (!Interruption::Requested()) extracted += extraction.Finish(std::bind_front(work.take, 0));
  return extracted;
}

}  // namespace vantorel::forkzip
