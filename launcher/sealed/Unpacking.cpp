#include "launcher/sealed/Unpacking.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <filesystem>
#include <string_view>

#include "launcher/sealed/Refusal.h"
#include "launcher/sealed/WorkFolder.h"
#include "platform/text/TextFunctions.h"
#include "zip/archive/ZipArchive.h"
#include "zip/archive/ZipExtractor.h"

namespace vantorel::sealed {
namespace {

constexpr std::string_view kOwnFiles[] = {"version", "serial", "checkfile", "updatepath", "vantorel.zip"};

[[noreturn]] void Refuse(const std::string& detail) {
  throw Refusal(Status::kNotUnpacked, detail);
}

std::string Bytes(const String& text) {
  return std::string(text.view());
}

// A name of the launcher's own, in any letter case, or that of the attributes beside such a file.
bool IsOwnFile(std::string name) {
  if (name.starts_with("._")) name.erase(0, 2);
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (name.starts_with(WorkFolder::kName)) return true;
  return std::find(std::begin(kOwnFiles), std::end(kOwnFiles), name) != std::end(kOwnFiles);
}

bool IsLink(ZipEntry& entry) {
  const auto mode = static_cast<std::uint32_t>(entry.ExternalFileAttributes()) >> 16;
  return (mode & S_IFMT) == S_IFLNK;
}

// Looks at the name as extraction is going to take it.
void CheckMember(ZipEntry& entry) {
  const std::string name = Bytes(entry.RawPath());
  if (IsLink(entry)) Refuse("\"" + name + "\" is a symbolic link");
  if (name.empty() || name.front() == '/') Refuse("\"" + name + "\" is an absolute path or no name");
  for (const String& component : entry.path) {
    const std::string clean = Bytes(entry.d->decodeFromZip(entry.d->encodeForZip(component)));
    if (clean == "." || clean == ".." || clean.find_first_of(std::string_view("/\0", 2)) != std::string::npos)
      Refuse("\"" + name + "\" leads out of the folder");
  }
}

void CheckMembers(const Ref<FolderItem>& file) {
  const auto archive = New<ZipArchive>();
  if (!archive->Open(file, false)) Refuse(Bytes(archive->ErrorMessage()));
  for (std::int32_t i = 1; i <= archive->EntryCount(); ++i) CheckMember(*archive->Entry(i));
  archive->Close();
}

}  // namespace

void Unpack(const std::string& archive, const std::string& folder) {
  const Ref<FolderItem> file = GetFolderItem(String::Bytes(archive));
  CheckMembers(file);
  const auto extractor = New<ZipExtractor>();
  if (!extractor->ExtractAllSilently(file, GetFolderItem(String::Bytes(folder)))) {
    Refuse(Bytes(extractor->LastErrMsg()));
  }
}

std::vector<std::string> TopItems(const std::string& folder, const std::string& target) {
  std::vector<std::string> names;
  for (const auto& item : std::filesystem::directory_iterator(folder)) {
    const std::string name = item.path().filename();
    if (IsOwnFile(name)) Refuse("\"" + name + "\" is a name of the launcher's own files");
    if (name != target) names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  names.push_back(target);
  return names;
}

}  // namespace vantorel::sealed
