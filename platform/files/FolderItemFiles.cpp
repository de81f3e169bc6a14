// FolderItem: opening, making and removing files and folders, and the members of a folder.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/base/Failures.h"
#include "platform/files/FolderItem.h"
#include "platform/files/OpenFile.h"
#include "platform/files/SideFile.h"

namespace vantorel {

namespace {

// Keeps the reason, should the nil become a fault.
Ref<BinaryStream> NotingFailure(const char* operation, const std::string& path, Ref<BinaryStream> stream) {
  if (stream) {
    ForgetFailures(path);
  } else {
    NoteFailure(operation, path, errno);
  }
  return stream;
}

}  // namespace

Ref<BinaryStream> FolderItem::OpenAsBinaryFile(bool writable) const {
  return NotingFailure("open", path_, OpenRegularFile(path_, writable ? O_RDWR : O_RDONLY));
}

Ref<BinaryStream> FolderItem::CreateBinaryFile(const String& /*file_type*/) {
  return NotingFailure("create", path_, MakeFile(path_));
}

Ref<TextInputStream> FolderItem::OpenAsTextFile() const {
  const Ref<BinaryStream> stream = OpenAsBinaryFile(false);
  return stream ? New<TextInputStream>(stream) : nil;
}

Ref<TextOutputStream> FolderItem::CreateTextFile() {
  const Ref<BinaryStream> stream =
      NotingFailure("create", path_, OpenRegularFile(path_, O_WRONLY | O_CREAT | O_TRUNC));
  return stream ? New<TextOutputStream>(stream) : nil;
}

void FolderItem::Delete() {
  if (unlink(path_.c_str()) != 0 && (errno != EISDIR || rmdir(path_.c_str()) != 0)) return;
  SideFile::Delete(path_);
}

void FolderItem::CreateAsFolder() {
  if (mkdir(path_.c_str(), 0777) != 0 && errno != EEXIST) NoteFailure("make the folder", path_, errno);
}

Ref<FolderItem> FolderItem::TrueItem(std::int32_t index) {
  if (index < 1) return nil;
  if (index == 1 || !listing_) listing_.emplace(path_);
  const auto position = static_cast<std::size_t>(index) - 1;
  if (position >= listing_->Names().size()) return nil;
  return TrueChild(String::Bytes(listing_->Names()[position]));
}

Ref<FolderItem> FolderItem::Item(std::int32_t index) {
  Ref<FolderItem> item = TrueItem(index);
  return item && item->Alias() ? Child(item->Name()) : item;
}

}  // namespace vantorel
