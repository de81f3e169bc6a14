// FolderItem: the classic attributes, which lie in the side file.
#include <algorithm>
#include <array>

#include "platform/files/FolderItem.h"
#include "platform/files/SideFile.h"

namespace vantorel {
namespace {

using Code = std::array<char, 4>;

String CodeText(const Code& code) {
  return code == Code{} ? String() : String::Bytes({code.data(), code.size()});
}

Code CodeOf(const String& text) {
  Code code{};
  if (!text.empty()) code.fill(' ');
  const std::string_view bytes = text.view().substr(0, code.size());
  std::copy(bytes.begin(), bytes.end(), code.begin());
  return code;
}

}  // namespace

FinderInfo FolderItem::GetFinderInfo() const {
  FinderInfo info;
  GetFinderInfo(info);
  return info;
}

std::int32_t FolderItem::GetFinderInfo(FinderInfo& info) const {
  SideFile side_file(path_, SideFile::Access::kRead);
  const FinderInfo present = side_file.GetFinderInfo();
  NoteSideFileError(side_file.Error());
  if (side_file.Error() == 0) info = present;
  return side_file.Error();
}

std::int32_t FolderItem::SetFinderInfo(const FinderInfo& info) {
  SideFile side_file(path_, SideFile::Access::kReadWrite);
  side_file.SetFinderInfo(info);
  return side_file.Close();
}

String FolderItem::MacType() const {
  return CodeText(GetFinderInfo().type);
}

std::int32_t FolderItem::SetMacType(const String& type) {
  FinderInfo info;
  if (const std::int32_t error = GetFinderInfo(info)) return error;
  info.type = CodeOf(type);
  return SetFinderInfo(info);
}

String FolderItem::MacCreator() const {
  return CodeText(GetFinderInfo().creator);
}

std::int32_t FolderItem::SetMacCreator(const String& creator) {
  FinderInfo info;
  if (const std::int32_t error = GetFinderInfo(info)) return error;
  info.creator = CodeOf(creator);
  return SetFinderInfo(info);
}

std::int32_t FolderItem::ResourceForkLength() const {
  SideFile side_file(path_, SideFile::Access::kRead);
  NoteSideFileError(side_file.Error());
  return side_file.ForkLength();
}

void FolderItem::NoteSideFileError(std::int32_t error) const {
  if (side_file_error_ == 0) side_file_error_ = error;
}

}  // namespace vantorel
