// FolderItem: the classic attributes, which lie in the side file.
#include <algorithm>
#include <array>

#include "platform/files/FolderItem.h"
#include "platform/files/SideFile.h"

namespace vantorel {
namespace {

using Code = std::array<char, 4>;

Code CodeOf(const String& text) {
  Code code{};
  if (!text.empty()) code.fill(' ');
  const std::string_view bytes = text.view().substr(0, code.size());
  std::copy(bytes.begin(), bytes.end(), code.begin());
  return code;
}

}  // namespace

std::int32_t FolderItem::GetMacData(MacData& data) const {
  SideFile side_file(path_, SideFile::Access::kRead);
  const MacData present{side_file.GetFinderInfo(), side_file.ForkLength()};
  if (side_file.Error() == 0) data = present;
  return side_file.Error();
}

std::int32_t FolderItem::SetFinderInfo(const FinderInfo& info) {
  SideFile side_file(path_, SideFile::Access::kReadWrite);
  side_file.SetFinderInfo(info);
  return side_file.Close();
}

String FolderItem::MacType() const {
  MacData data;
  GetMacData(data);
  return data.finder.TypeText();
}

std::int32_t FolderItem::SetMacType(const String& type) {
  MacData data;
  if (const std::int32_t error = GetMacData(data)) return error;
  data.finder.type = CodeOf(type);
  return SetFinderInfo(data.finder);
}

String FolderItem::MacCreator() const {
  MacData data;
  GetMacData(data);
  return data.finder.CreatorText();
}

std::int32_t FolderItem::SetMacCreator(const String& creator) {
  MacData data;
  if (const std::int32_t error = GetMacData(data)) return error;
  data.finder.creator = CodeOf(creator);
  return SetFinderInfo(data.finder);
}

std::int32_t FolderItem::ResourceForkLength() const {
  MacData data;
  GetMacData(data);
  return data.fork_length;
}

}  // namespace vantorel
