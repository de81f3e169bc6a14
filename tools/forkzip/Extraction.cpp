#include "tools/forkzip/Extraction.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <span>

#include "tools/forkzip/ByteSinks.h"
#include "tools/forkzip/Interruption.h"
#include "tools/forkzip/LinkTarget.h"
#include "tools/forkzip/MacAttributes.h"
#include "tools/forkzip/MemberFacts.h"
#include "tools/forkzip/MemberPath.h"
#include "tools/forkzip/Printable.h"
#include "tools/forkzip/Verification.h"
#include "zip/archive/ZipRecords.h"
#include "zip/extract/MacBinaryHeader.h"
#include "zip/extract/RsrcForkWriter.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kKept = "exists already and is kept; --overwrite replaces it";

std::span<const std::string> FoldersOf(const std::vector<std::string>& path) {
  return std::span(path).first(path.size() - 1);
}

// Without set-id and sticky bits, which are not an archive's to give.
std::optional<mode_t> PermissionsOf(const Ref<ZipEntry>& entry) {
  constexpr std::uint32_t kPermissions = 0777;
  const auto mode = ModeOf(entry);
  if (!mode) return std::nullopt;
  return static_cast<mode_t>(*mode & kPermissions);
}

[[noreturn]] void FailToWrite(const FileSink& sink, bool overwrite) {
  if (sink.Error() == EEXIST && !overwrite) {
    throw Failure(ExitCode::kFileError, kKept);
  }
  throw Failure(ExitCode::kFileError, WithCause("cannot be written", sink.Error()));
}

// What to say, and with which exit code, when the engine gave up on a member.
[[noreturn]] void FailAsEngine(const Ref<ZipEntry>& entry) {
  const std::string message = Utf8(entry->ErrorMessage());
  const bool file_error =
      message.starts_with("File write error") || message.starts_with("Opening destination");
  throw Failure(file_error ? ExitCode::kFileError : ExitCode::kBadArchive, message);
}

// `unwrapped`: the sink did not get the member's bytes as they stand, so they are summed from the archive.
void CheckStoredSums(const Ref<ZipEntry>& entry, const FileSink& sink, bool unwrapped, bool with_companion) {
  std::string fault;
  if (unwrapped) {
    fault = FaultOfStoredSum(entry);
  } else if (entry->CompressionMethod() == ZipMethod::kStored && sink.Crc() != CrcOf(entry)) {
    fault = WrongSum(entry, sink.Crc());
  }
  if (fault.empty() && with_companion) fault = FaultOfStoredSum(entry->appleDoubleEntry);
  if (!fault.empty()) throw Failure(ExitCode::kBadArchive, fault);
}

// The resource fork that went with a file's provisional name goes with the final one.
void RenameSideFile(int folder, const std::string& from, const std::string& to) {
  const std::string side = "._" + from;
  const std::string final_side = "._" + to;
  if (renameat(folder, side.c_str(), folder, final_side.c_str()) != 0)
    unlinkat(folder, final_side.c_str(), 0);
}

// Takes away what a failed extraction left of a resource fork.
class SideFileGuard {
 public:
  SideFileGuard(int folder, const std::string& name) : folder_(folder), side_("._" + name) {
    struct stat status {};
    was_there_ = fstatat(folder_, side_.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
  }
  SideFileGuard(const SideFileGuard&) = delete;
  SideFileGuard& operator=(const SideFileGuard&) = delete;
  ~SideFileGuard() {
    if (!kept_ && !was_there_) unlinkat(folder_, side_.c_str(), 0);
  }
  void Keep() { kept_ = true; }

 private:
  int folder_;
  std::string side_;
  bool was_there_ = false;
  bool kept_ = false;
};

}  // namespace

Extraction::Extraction(const std::string& root, const Ways& ways, Problems& problems)
    : destination_(root), ways_(ways), problems_(problems) {}

template <typename Work>
void Extraction::Guarded(const Ref<ZipEntry>& entry, Work work) {
  try {
    work();
    ++extracted_;
  } catch (const Failure& failure) {
    if (!Interruption::Requested()) problems_.Add(failure.Code(), Utf8(entry->RawPath()), failure.what());
  } catch (const RuntimeException& fault) {
    problems_.Add(ExitCode::kBadArchive, Utf8(entry->RawPath()), fault.what());
  }
}

void Extraction::Extract(const Ref<ZipEntry>& entry) {
  Guarded(entry, [&] { Place(entry); });
  if (!ways_.raw || !entry->appleDoubleEntry) return;
  // As it stands it is a member like any other.
  entry->appleDoubleEntry->thisIsTheAppleDoubleEntry = false;
  Guarded(entry->appleDoubleEntry, [&] { Place(entry->appleDoubleEntry); });
}

void Extraction::Place(const Ref<ZipEntry>& entry) {
  Components path = SafePath(entry);
  if (entry->IsDirectory()) {
    destination_.Folder(path);
    if (!path.empty()) folders_.push_back({entry, std::move(path)});
  } else if (IsSymbolicLink(entry)) {
    destination_.Folder(FoldersOf(path));
    links_.push_back({entry, std::move(path)});
  } else {
    ExtractFile(entry, path);
  }
}

void Extraction::ExtractFile(const Ref<ZipEntry>& entry, const Components& path) {
  const bool unwrap = !ways_.raw && (entry->appleDoubleEntry || SizeOf(entry) >= MacBinaryHeader::kSize);
  const int folder = destination_.Folder(FoldersOf(path));
  const auto sink = New<FileSink>(folder, path.back(), PermissionsOf(entry), ways_.overwrite);
  sink->SetSumming(entry->CompressionMethod() == ZipMethod::kStored);
  Components present = path;
  present.back() = sink->PresentName();

  Ref<RsrcForkWriter> fork;
  std::optional<SideFileGuard> side;
  if (unwrap) {
    fork = New<RsrcForkWriter>(GetFolderItem(String::Bytes(destination_.PathOf(present))));
    side.emplace(folder, present.back());
  }
  Ref<MemoryBlock> header_block;
  const bool whole = entry->Extract(unwrap, sink, fork, header_block);
  if (sink->Error() != 0) FailToWrite(*sink, ways_.overwrite);
  if (!whole) FailAsEngine(entry);
  const bool has_companion = unwrap && entry->appleDoubleEntry;
  CheckStoredSums(entry, *sink, header_block && !has_companion, has_companion);
  if (!sink->Keep(TimeOf(entry))) FailToWrite(*sink, ways_.overwrite);
  if (side) side->Keep();
  if (present.back() != path.back()) RenameSideFile(folder, present.back(), path.back());
  if (!ways_.raw) ApplyMacAttributes(entry, destination_.PathOf(path), header_block);
}

void Extraction::Finish() {
  for (const Waiting& link : links_) {
    --extracted_;  // it was counted when it was put aside
    Guarded(link.entry, [&] { MakeLink(link); });
  }
  // From the innermost out: what happens in a folder changes its time.
  for (auto folder = folders_.rbegin(); folder != folders_.rend(); ++folder) {
    --extracted_;
    Guarded(folder->entry, [&] { FinishFolder(*folder); });
  }
}

void Extraction::MakeLink(const Waiting& link) {
  constexpr std::size_t kLongestTarget = 4095;
  const auto target = New<KeepingSink>(kLongestTarget);
  Ref<MemoryBlock> header_block;
  if (!link.entry->Extract(false, target, nil, header_block)) FailAsEngine(link.entry);
  if (!StaysBelow(target->Bytes(), link.path.size() - 1)) {
    throw Failure(ExitCode::kBadArchive,
                  "refused: the symbolic link leads out of the destination: " + target->Bytes());
  }
  const int folder = destination_.Folder(FoldersOf(link.path));
  const char* name = link.path.back().c_str();
  if (ways_.overwrite) unlinkat(folder, name, 0);
  if (symlinkat(target->Bytes().c_str(), folder, name) != 0) {
    if (errno == EEXIST) throw Failure(ExitCode::kFileError, kKept);
    throw Failure(ExitCode::kFileError, WithCause("the symbolic link cannot be made", errno));
  }
  if (const auto time = TimeOf(link.entry)) {
    const std::array<timespec, 2> times = {timespec{*time, 0}, timespec{*time, 0}};
    utimensat(folder, name, times.data(), AT_SYMLINK_NOFOLLOW);
  }
}

void Extraction::FinishFolder(const Waiting& folder) {
  const int descriptor = destination_.Folder(folder.path);
  Ref<MemoryBlock> header_block;
  const bool may_have_header =
      folder.entry->appleDoubleEntry || SizeOf(folder.entry) == MacBinaryHeader::kSize;
  if (!ways_.raw && may_have_header) {
    if (!folder.entry->Extract(true, nil, nil, header_block)) FailAsEngine(folder.entry);
  }
  if (const auto mode = PermissionsOf(folder.entry)) fchmod(descriptor, *mode);
  if (const auto time = TimeOf(folder.entry)) {
    const std::array<timespec, 2> times = {timespec{*time, 0}, timespec{*time, 0}};
    futimens(descriptor, times.data());
  }
  if (!ways_.raw) ApplyMacAttributes(folder.entry, destination_.PathOf(folder.path), header_block);
}

}  // namespace vantorel::forkzip
