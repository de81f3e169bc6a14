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

// The stream as a text, or nil, which may become a fault: the reason is kept for it.
template <typename Text>
Ref<Text> AsText(const Ref<BinaryStream>& stream, const char* operation, const std::string& path) {
  if (!stream) {
    NoteFailure(operation, path, errno);
    return nil;
  }
  ForgetFailures();
  return New<Text>(stream);
}

}  // namespace

Ref<BinaryStream> FolderItem::OpenAsBinaryFile(bool writable) const {
  return OpenRegularFile(path_, writable ? O_RDWR : O_RDONLY);
}

Ref<BinaryStream> FolderItem::CreateBinaryFile(const String& /*file_type*/) {
  return MakeFile(path_);
}

Ref<TextInputStream> FolderItem::OpenAsTextFile() const {
  return AsText<TextInputStream>(OpenAsBinaryFile(false), "open", path_);
}

Ref<TextOutputStream> FolderItem::CreateTextFile() {
  const auto stream = OpenRegularFile(path_, O_WRONLY | O_CREAT | O_TRUNC);
  return AsText<TextOutputStream>(stream, "create", path_);
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
