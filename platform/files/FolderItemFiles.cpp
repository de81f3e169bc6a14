// FolderItem: opening, making and removing files and folders, and the members of a folder.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string_view>

#include "platform/base/Failures.h"
#include "platform/files/FolderItem.h"
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

std::vector<std::string> ReadNames(const std::string& path) {
  std::vector<std::string> names;
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(path.c_str()), closedir);
  if (!folder) return names;
  while (const dirent* member = readdir(folder.get())) {
    const std::string_view name = static_cast<const char*>(member->d_name);
    if (name != "." && name != "..") names.emplace_back(name);
  }
  return names;
}

// The members of a folder in byte order, without the side files whose item is there; none of one that cannot
// be read.
std::vector<std::string> MembersOf(const std::string& path) {
  std::vector<std::string> all = ReadNames(path);
  std::sort(all.begin(), all.end());
  std::vector<std::string> members;
  for (const std::string& name : all) {
    const bool has_item = SideFile::IsNamedLikeOne(name) &&
                          std::binary_search(all.begin(), all.end(), SideFile::ItemNameOf(name));
    const bool is_side_file = has_item && SideFile::IsOne(std::string(path).append(1, '/').append(name));
    if (!is_side_file) members.push_back(name);
  }
  return members;
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
  if (index == 1 || !listing_) listing_ = MembersOf(path_);
  const auto position = static_cast<std::size_t>(index) - 1;
  if (position >= listing_->size()) return nil;
  return TrueChild(String::Bytes((*listing_)[position]));
}

Ref<FolderItem> FolderItem::Item(std::int32_t index) {
  Ref<FolderItem> item = TrueItem(index);
  return item && item->Alias() ? Child(item->Name()) : item;
}

}  // namespace vantorel
