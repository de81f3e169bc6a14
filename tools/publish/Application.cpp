#include "tools/publish/Application.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <limits>

#include "platform/files/SideFile.h"
#include "tools/publish/PublishError.h"

namespace vantorel::publish {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kLargestArchive = std::numeric_limits<std::int32_t>::max();
constexpr std::size_t kMostMembers = 65535;

[[noreturn]] void Refuse(const std::string& path, const std::string& why) {
  throw PublishError(ExitCode::kBadInput, path + ": " + why);
}

// Whether this holds the classic attributes of a file beside it, with which it travels.
bool IsSideFile(const fs::path& path) {
  const std::string name = path.filename();
  return SideFile::IsNamedLikeOne(name) && fs::exists(path.parent_path() / SideFile::ItemNameOf(name)) &&
         SideFile::IsOne(path);
}

AppFile Describe(const fs::directory_entry& entry, const std::string& archive_path) {
  if (entry.is_symlink()) {
    Refuse(entry.path(),
           "is a symbolic link, which an update cannot carry; put the file itself in its place");
  }
  const bool folder = entry.is_directory();
  if (!folder && !entry.is_regular_file()) Refuse(entry.path(), "is neither a file nor a folder");
  const std::string native = entry.path();
  if (access(native.c_str(), R_OK) != 0)
    throw PublishError(ExitCode::kFileError, native + ": " + std::strerror(errno));
  AppFile file;
  file.path = archive_path;
  if (folder) file.path += "/";
  file.item = GetFolderItem(String::Adopt(native, Encodings::UTF8()));
  file.size = folder ? 0 : entry.file_size();
  return file;
}

}  // namespace

std::vector<AppFile> ListApplication(const std::string& application, const std::string& top) {
  const fs::path root = fs::path(application).lexically_normal();
  if (!fs::is_directory(root)) Refuse(application, "is not a folder");

  std::vector<AppFile> files;
  std::uint64_t total = 0;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
    const std::string inside = entry.path().lexically_relative(root).generic_string();
    std::string archive_path = top;
    archive_path.append("/").append(inside);
    AppFile file = Describe(entry, archive_path);
    if (IsSideFile(entry.path())) continue;
    if (entry.is_directory() && !fs::is_empty(entry.path())) continue;
    total += file.size;
    files.push_back(std::move(file));
  }
  if (files.empty()) Refuse(application, "is empty");
  if (files.size() > kMostMembers)
    Refuse(application, "holds more than 65,535 files, the limit of the archive format");
  if (total > kLargestArchive) Refuse(application, "is larger than 2 GiB, the limit of the archive format");

  std::sort(files.begin(), files.end(), [](const AppFile& a, const AppFile& b) { return a.path < b.path; });
  return files;
}

}  // namespace vantorel::publish
