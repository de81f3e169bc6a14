#include "platform/files/ResourceFork.h"

#include <algorithm>
#include <cerrno>

namespace vantorel {

ResourceFork::ResourceFork(const std::string& item_path, Access access)
    : side_file_(item_path, access), writable_(access == Access::kReadWrite) {}

Ref<ResourceFork> ResourceFork::Open(const Ref<FolderItem>& item, Access access, std::int32_t& error) {
  error = -ENOENT;
  if (!item->Exists()) return nil;
  const bool read_only = access == Access::kRead;
  const Ref<ResourceFork> fork =
      New<ResourceFork>(item->Path(), read_only ? SideFile::Access::kRead : SideFile::Access::kReadWrite);
  error = fork->side_file_.Error();
  return error == 0 ? fork : nil;
}

std::int32_t ResourceFork::GetEOF(std::int32_t& length) {
  length = side_file_.ForkLength();
  return side_file_.Error();
}

std::int32_t ResourceFork::SetEOF(std::int32_t length) {
  if (!writable_) return -EBADF;
  if (length < 0) return -EINVAL;
  side_file_.SetForkLength(length);
  return side_file_.Error();
}

std::int32_t ResourceFork::GetFPos(std::int32_t& position) {
  position = position_;
  return side_file_.Error();
}

std::int32_t ResourceFork::SetFPos(std::int32_t position) {
  if (position < 0) return -EINVAL;
  position_ = position;
  return side_file_.Error();
}

std::int32_t ResourceFork::Read(std::int32_t count, std::string& bytes) {
  const std::size_t before = bytes.size();
  const std::int32_t left = std::max(side_file_.ForkLength() - position_, 0);
  const auto wanted = static_cast<std::size_t>(std::clamp(count, 0, left));
  bytes.resize(before + wanted);
  const std::size_t got = side_file_.ReadFork(position_, bytes.data() + before, wanted);
  bytes.resize(before + got);
  position_ += static_cast<std::int32_t>(got);
  return got == wanted ? side_file_.Error() : -EIO;
}

std::int32_t ResourceFork::Write(std::string_view bytes) {
  if (!writable_) return -EBADF;
  side_file_.WriteFork(position_, bytes);
  if (side_file_.Error() == 0) position_ += static_cast<std::int32_t>(bytes.size());
  return side_file_.Error();
}

std::int32_t ResourceFork::Close() {
  return side_file_.Close();
}

}  // namespace vantorel
