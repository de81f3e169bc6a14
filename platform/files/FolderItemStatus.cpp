// FolderItem: what the file system and the side file say of an item, and changes of it.
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>

#include "platform/files/FileCalls.h"
#include "platform/files/FolderItem.h"
#include "platform/files/SideFile.h"

namespace vantorel {
namespace {

constexpr mode_t kPermissionBits = 07777;
constexpr mode_t kWriteBits = S_IWUSR | S_IWGRP | S_IWOTH;

std::optional<struct stat> FolderStatusOf(const FolderItem& item) {
  const Ref<FolderItem> parent = item.Parent();
  struct stat status {};
  if (stat(parent ? parent->Path().c_str() : "/", &status) != 0) return std::nullopt;
  return status;
}

// A number of the file system's in the 32 bits of a classic one.
std::int32_t ClassicId(std::uint64_t number) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(number ^ number >> 32));
}

// A type or creator in its 4 bytes.
std::array<char, 4> CodeOf(const String& text) {
  std::array<char, 4> code{};
  if (!text.empty()) code.fill(' ');
  const std::string_view bytes = text.view().substr(0, code.size());
  std::copy(bytes.begin(), bytes.end(), code.begin());
  return code;
}

}  // namespace

std::optional<struct stat> FolderItem::Status() const {
  struct stat status {};
  if (lstat(path_.c_str(), &status) != 0) return std::nullopt;
  return status;
}

bool FolderItem::Exists() const {
  return KindOf(AT_FDCWD, path_) != 0;
}

bool FolderItem::Directory() const {
  return S_ISDIR(KindOf(AT_FDCWD, path_));
}

bool FolderItem::Alias() const {
  return S_ISLNK(KindOf(AT_FDCWD, path_));
}

std::uint64_t FolderItem::Length() const {
  const auto status = Status();
  return status && S_ISREG(status->st_mode) ? static_cast<std::uint64_t>(status->st_size) : 0;
}

Ref<Date> FolderItem::ModificationDate() const {
  const auto status = Status();
  return status ? Date::FromUnixTime(status->st_mtime) : nil;
}

void FolderItem::SetModificationDate(const Ref<Date>& date) {
  if (!date) return;
  const std::array<timespec, 2> times = {timespec{0, UTIME_OMIT}, timespec{date->UnixTime(), 0}};
  utimensat(AT_FDCWD, path_.c_str(), times.data(), AT_SYMLINK_NOFOLLOW);
}

Ref<Date> FolderItem::CreationDate() const {
  struct statx status {};
  if (statx(AT_FDCWD, path_.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BTIME | STATX_MTIME, &status) != 0)
    return nil;
  const bool told = (status.stx_mask & STATX_BTIME) != 0;
  return Date::FromUnixTime(told ? status.stx_btime.tv_sec : status.stx_mtime.tv_sec);
}

// The system sets it once, when a file is made.
void FolderItem::SetCreationDate(const Ref<Date>& /*date*/) {}

bool FolderItem::Locked() const {
  const auto status = Status();
  return status && (status->st_mode & S_IWUSR) == 0;
}

void FolderItem::SetLocked(bool locked) {
  const auto status = Status();
  if (!status || S_ISLNK(status->st_mode)) return;
  const mode_t mode = locked ? status->st_mode & ~kWriteBits : status->st_mode | S_IWUSR;
  chmod(path_.c_str(), mode & kPermissionBits);
  SideFile::FollowMode(path_, mode);
}

bool FolderItem::Visible() const {
  return path_[path_.rfind('/') + 1] != '.';
}

std::int32_t FolderItem::MacVRefNum() const {
  const auto status = FolderStatusOf(*this);
  return status ? ClassicId(status->st_dev) : 0;
}

std::int32_t FolderItem::MacDirID() const {
  const auto status = FolderStatusOf(*this);
  return status ? ClassicId(status->st_ino) : 0;
}

std::int32_t FolderItem::GetUnixMode(std::uint16_t& mode) const {
  const auto status = Status();
  if (!status) return -errno;
  mode = static_cast<std::uint16_t>(status->st_mode);
  return 0;
}

std::int32_t FolderItem::SetUnixMode(std::uint16_t mode) {
  if (chmod(path_.c_str(), mode & kPermissionBits) != 0) return -errno;
  SideFile::FollowMode(path_, mode);
  return 0;
}

std::int32_t FolderItem::GetMacData(MacData& data) const {
  SideFile side_file(path_, SideFile::Access::kRead);
  const MacData present{side_file.GetFinderInfo(), side_file.ForkLength()};
  if (side_file.Error() == 0) data = present;
  return side_file.Error();
}

MacData FolderItem::MacDataOrNone() const {
  MacData data;
  GetMacData(data);
  return data;
}

std::int32_t FolderItem::SetFinderInfo(const FinderInfo& info) {
  SideFile side_file(path_, SideFile::Access::kReadWrite);
  side_file.SetFinderInfo(info);
  return side_file.Close();
}

std::int32_t FolderItem::SetCode(std::array<char, 4> FinderInfo::*field, const String& text) {
  MacData data;
  if (const std::int32_t error = GetMacData(data)) return error;
  data.finder.*field = CodeOf(text);
  return SetFinderInfo(data.finder);
}

}  // namespace vantorel
