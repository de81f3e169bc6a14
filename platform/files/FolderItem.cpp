// FolderItem: paths and names.
#include "platform/files/FolderItem.h"

#include <fcntl.h>

#include <algorithm>
#include <filesystem>
#include <utility>

#include "platform/files/FileCalls.h"
#include "platform/files/SideFile.h"
#include "platform/text/TextFunctions.h"

namespace vantorel {
namespace {

// An absolute path without empty components, `.` and a trailing slash.
std::string Normalised(std::string path) {
  if (path.empty() || path[0] != '/') {
    std::error_code failure;  // an empty working directory then leads to what does not exist
    path = std::filesystem::current_path(failure).string() + '/' + path;
  }
  std::string result;
  for (std::size_t begin = 0; begin < path.size();) {
    const std::size_t end = std::min(path.find('/', begin), path.size());
    const std::string_view component = std::string_view(path).substr(begin, end - begin);
    if (!component.empty() && component != ".") result.append("/").append(component);
    begin = end + 1;
  }
  return result.empty() ? "/" : result;
}

// The bytes under which a name lies on disk.
std::string LeafBytes(const String& name) {
  const Ref<TextEncoding> encoding = Encoding(name);
  const bool convert = encoding && !encoding->Equals(Encodings::SystemDefault());
  return std::string(convert ? ConvertEncoding(name, Encodings::SystemDefault()).view() : name.view());
}

bool CanBeLeafName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(std::string_view("/\0", 2)) == name.npos;
}

}  // namespace

FolderItem::FolderItem(std::string path) : path_(Normalised(std::move(path))) {}

Ref<FolderItem> GetFolderItem(const String& path, std::int32_t /*mode*/) {
  if (path.empty() || path.view().find('\0') != std::string_view::npos) return nil;
  return New<FolderItem>(std::string(path.view()));
}

std::string FolderItem::MemberPath(const String& name) const {
  const std::string leaf = LeafBytes(name);
  if (!CanBeLeafName(leaf)) return {};
  return (path_ == "/" ? path_ : path_ + '/') + leaf;
}

// A path that needs no cleaning is not cleaned: a walk down a long one takes a step per component.
Ref<FolderItem> FolderItem::TrueChild(const String& name) const {
  std::string path = MemberPath(name);
  return path.empty() ? nil : New<FolderItem>(CleanPath{std::move(path)});
}

Ref<FolderItem> FolderItem::Child(const String& name) const {
  Ref<FolderItem> child = TrueChild(name);
  if (!child || !child->Alias()) return child;
  std::error_code failure;
  const std::filesystem::path target = std::filesystem::canonical(child->path_, failure);
  return failure ? child : New<FolderItem>(target.string());
}

Ref<FolderItem> FolderItem::Parent() const {
  if (path_ == "/") return nil;
  const std::size_t slash = path_.rfind('/');
  return New<FolderItem>(CleanPath{path_.substr(0, slash == 0 ? 1 : slash)});
}

String FolderItem::Name() const {
  return String::Adopt(path_ == "/" ? path_ : path_.substr(path_.rfind('/') + 1), Encodings::SystemDefault());
}

void FolderItem::SetName(const String& name) {
  const Ref<FolderItem> parent = Parent();
  const Ref<FolderItem> renamed = parent ? parent->TrueChild(name) : nil;
  if (!renamed || renamed->path_ == path_) return;
  if (SideFile::Move(path_, renamed->path_) != 0) return;
  if (Rename(AT_FDCWD, path_, renamed->path_, IfTaken::kRefuse) == 0) {
    path_ = renamed->path_;
  } else {
    SideFile::Move(renamed->path_, path_);
  }
}

String FolderItem::AbsolutePath() const {
  std::error_code failure;
  const bool slash = path_ != "/" && std::filesystem::is_directory(path_, failure);
  return String::Adopt(slash ? path_ + '/' : path_, Encodings::SystemDefault());
}

String FolderItem::ShellPath() const {
  constexpr std::string_view kPlain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/._-+,:=@%";
  String path = String::Adopt(path_, Encodings::SystemDefault());
  if (path_.find_first_not_of(kPlain) == std::string::npos) return path;
  return "'" + ReplaceAll(path, "'", "'\\''") + "'";
}

}  // namespace vantorel
