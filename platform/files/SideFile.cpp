#include "platform/files/SideFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <optional>
#include <utility>

#include "platform/files/AppleDouble.h"
#include "platform/files/FileCalls.h"

namespace vantorel {
namespace {

constexpr std::string_view kPrefix = "._";
constexpr mode_t kReadWriteBits = 0666;
constexpr std::uint64_t kLongestFork = std::numeric_limits<std::int32_t>::max();

// Nobody else may read or change more of an item than before. The owner could take the right at any time, and
// needs it for an item that is locked or kept from reading.
mode_t ModeFor(mode_t item_mode) {
  constexpr mode_t kOwner = S_IRUSR | S_IWUSR;
  return (item_mode & kReadWriteBits) | kOwner;
}

using FinderBytes = std::array<char, AppleDouble::Finder::kSize>;

FinderBytes ReadFinderBytes(BinaryStream& file, const AppleDoubleEntry& entry) {
  FinderBytes bytes{};
  file.SetPosition(entry.offset);
  file.ReadInto(bytes.data(), bytes.size());
  return bytes;
}

}  // namespace

std::string SideFile::PathFor(const std::string& item_path) {
  std::string path = item_path;
  return path.insert(path.rfind('/') + 1, kPrefix);
}

bool SideFile::IsNamedLikeOne(std::string_view name) {
  return name.size() > kPrefix.size() && name.substr(0, kPrefix.size()) == kPrefix;
}

std::string SideFile::ItemNameOf(const std::string& name) {
  return name.substr(kPrefix.size());
}

bool SideFile::IsOne(const std::string& path) {
  const Ref<BinaryStream> stream = OpenRegularFile(path, O_RDONLY | O_NOFOLLOW);
  return stream && AppleDoubleTable::Read(*stream).has_value();
}

int SideFile::Move(const std::string& item_path, const std::string& new_item_path) {
  const std::string path = PathFor(item_path);
  const std::string new_path = PathFor(new_item_path);
  if (IsOne(new_path)) return EEXIST;
  return IsOne(path) ? Rename(AT_FDCWD, path, new_path, IfTaken::kRefuse) : 0;
}

void SideFile::Delete(const std::string& item_path) {
  const std::string path = PathFor(item_path);
  if (IsOne(path)) unlink(path.c_str());
}

void SideFile::FollowMode(const std::string& item_path, mode_t item_mode) {
  const std::string path = PathFor(item_path);
  if (IsOne(path)) chmod(path.c_str(), ModeFor(item_mode));
}

SideFile::SideFile(const std::string& item_path, Access access)
    : item_path_(item_path), path_(PathFor(item_path)) {
  const bool read_only = access == Access::kRead;
  stream_ = OpenRegularFile(path_, (read_only ? O_RDONLY : O_RDWR) | O_NOFOLLOW);
  if (!stream_) {
    const bool is_none = errno == ENOENT || errno == ENAMETOOLONG;
    const bool is_no_file = errno == EISDIR || errno == ELOOP || errno == EINVAL;
    if (!is_none && !(is_no_file && read_only)) Fail(-errno);
    return;
  }
  std::optional<AppleDoubleTable> table = AppleDoubleTable::Read(*stream_);
  if (table) {
    table_ = std::move(*table);
  } else {
    Fail(stream_->ReadErrorCode());
    stream_ = nil;
    if (!read_only) Fail(-EEXIST);
  }
}

SideFile::~SideFile() {
  Close();
}

bool SideFile::Fail(std::int32_t error) {
  if (error_ == 0) error_ = error;
  return false;
}

FinderInfo SideFile::GetFinderInfo() {
  const AppleDoubleEntry* entry = stream_ ? table_.FinderInfo() : nullptr;
  if (entry == nullptr) return {};
  return FinderInfo::Load(ReadFinderBytes(*stream_, *entry).data());
}

void SideFile::SetFinderInfo(const FinderInfo& info) {
  if (error_ != 0 || info == GetFinderInfo()) return;
  if (!EnsureEntries()) return;
  const AppleDoubleEntry* entry = table_.FinderInfo();
  FinderBytes bytes = ReadFinderBytes(*stream_, *entry);
  if (stream_->ReadError()) return;  // nor would it be known what else is written over
  info.Store(bytes.data());
  stream_->SetPosition(entry->offset);
  stream_->WriteBytes({bytes.data(), bytes.size()});
  changed_ = true;
}

std::int32_t SideFile::ForkLength() {
  const AppleDoubleEntry* fork = stream_ ? table_.Fork() : nullptr;
  return fork == nullptr ? 0 : static_cast<std::int32_t>(std::min<std::uint64_t>(fork->length, kLongestFork));
}

void SideFile::SetForkLength(std::int32_t length) {
  if (error_ != 0 || length == ForkLength()) return;
  if (!EnsureForkIsLast()) return;
  AppleDoubleEntry* fork = table_.Fork();
  fork->length = static_cast<std::uint32_t>(std::max(length, 0));
  stream_->SetLength(fork->End());
  changed_ = true;
}

std::size_t SideFile::ReadFork(std::int32_t position, char* buffer, std::size_t count) {
  const std::int32_t length = ForkLength();
  if (position < 0 || position >= length) return 0;
  stream_->SetPosition(table_.Fork()->offset + static_cast<std::uint64_t>(position));
  return stream_->ReadInto(buffer, std::min(count, static_cast<std::size_t>(length - position)));
}

void SideFile::WriteFork(std::int32_t position, std::string_view bytes) {
  if (error_ != 0 || bytes.empty()) return;
  const std::uint64_t end = static_cast<std::uint64_t>(position) + bytes.size();
  if (position < 0 || end > kLongestFork) Fail(position < 0 ? -EINVAL : -EFBIG);
  if (!EnsureForkIsLast()) return;
  AppleDoubleEntry* fork = table_.Fork();
  stream_->SetPosition(fork->offset + static_cast<std::uint64_t>(position));
  stream_->WriteBytes(bytes);
  fork->length = std::max(fork->length, static_cast<std::uint32_t>(end));
  changed_ = true;
}

bool SideFile::MakeNew() {
  struct stat item {};
  if (lstat(item_path_.c_str(), &item) == 0) stream_ = MakeFile(path_, ModeFor(item.st_mode));
  if (!stream_) return Fail(-errno);
  is_new_ = true;
  table_.Write(*stream_);
  const FinderBytes nothing{};
  stream_->WriteBytes({nothing.data(), nothing.size()});
  return true;
}

bool SideFile::EnsureEntries() {
  if (error_ != 0 || (!stream_ && !MakeNew())) return false;
  return (table_.FinderInfo() != nullptr && table_.Fork() != nullptr) || Rebuild();
}

// The fork grows and shrinks in place, so it has to lie behind all else.
bool SideFile::EnsureForkIsLast() {
  if (fork_is_last_) return error_ == 0;
  if (!EnsureEntries()) return false;
  if (table_.Fork()->offset < table_.EndOfOthers(*table_.Fork()) && !Rebuild()) return false;
  stream_->SetLength(table_.Fork()->End());
  fork_is_last_ = true;
  return true;
}

bool SideFile::HoldsNothing() {
  const AppleDoubleEntry* finder = table_.FinderInfo();
  for (const AppleDoubleEntry& entry : table_.Entries()) {
    const bool is_finder_info = &entry == finder && entry.length == AppleDouble::Finder::kSize;
    if (is_finder_info ? ReadFinderBytes(*stream_, entry) != FinderBytes{} : entry.length != 0) return false;
  }
  return !stream_->ReadError();
}

std::int32_t SideFile::Close() {
  if (!stream_) return error_;
  if (changed_ && !HoldsNothing()) table_.WriteEntry(*stream_, *table_.Fork());
  const bool is_half_made = is_new_ && !stream_->Flush();
  if (changed_ && (is_half_made || HoldsNothing())) unlink(path_.c_str());
  Fail(stream_->ReadErrorCode());
  stream_->Close();
  Fail(stream_->WriteErrorCode());
  stream_ = nil;
  return error_;
}

}  // namespace vantorel
