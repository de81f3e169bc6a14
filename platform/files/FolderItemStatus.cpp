// FolderItem: what the file system says of an item, and changes of it.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <optional>

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

}  // namespace

std::optional<struct stat> FolderItem::Status() const {
  struct stat status {};
  if (lstat(path_.c_str(), &status) != 0) return std::nullopt;
  return status;
}

bool FolderItem::Exists() const {
  return Status().has_value();
}

bool FolderItem::Directory() const {
  const auto status = Status();
  return status && S_ISDIR(status->st_mode);
}

bool FolderItem::Alias() const {
  const auto status = Status();
  return status && S_ISLNK(status->st_mode);
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

}  // namespace vantorel
