#include "tools/forkzip/add/AddPlan.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "platform/files/FileCalls.h"
#include "platform/files/FolderItem.h"
#include "platform/files/SideFile.h"
#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/cli/StandardStreams.h"
#include "tools/forkzip/edit/MemberRecords.h"
#include "tools/forkzip/edit/Preflight.h"
#include "tools/forkzip/read/MemberSelection.h"

namespace vantorel::forkzip {

namespace {

constexpr std::string_view kSidePrefix = "._";

// The names in a folder, sorted. On a fault `error` is set.
std::vector<std::string> NamesIn(const std::string& path, std::error_code& error) {
  std::vector<std::string> names;
  for (std::filesystem::directory_iterator item(path, error), end; item != end; item.increment(error)) {
    names.push_back(item->path().filename());
  }
  std::sort(names.begin(), names.end());
  return names;
}

bool IsIn(const std::vector<std::string>& names, const std::string& name) {
  return std::binary_search(names.begin(), names.end(), name);
}

FileId IdOf(const struct stat& status) {
  return {status.st_dev, status.st_ino};
}

bool HasSideFile(const std::string& path) {
  return KindOf(AT_FDCWD, SideFile::PathFor(path)) != 0;
}

}  // namespace

std::string MemberNameOf(const std::string& path) {
  std::string name;
  for (std::size_t begin = 0; begin < path.size();) {
    const std::size_t slash = std::min(path.find('/', begin), path.size());
    const std::string component = path.substr(begin, slash - begin);
    begin = slash + 1;
    if (component == "..") {
      name.erase(name.find_last_of('/') == std::string::npos ? 0 : name.find_last_of('/'));
    } else if (!component.empty() && component != ".") {
      name += (name.empty() ? "" : "/") + component;
    }
  }
  return name;
}

AddPlan::AddPlan(const AddingOptions& options, Problems& problems) : options_(options), problems_(problems) {
  for (const std::string& pattern : options.excluded) {
    excluded_.push_back(MemberNameOf(pattern) + (pattern.ends_with('/') ? "/" : ""));
  }
  std::erase(excluded_, "");
  const std::string archive = options.archive == kStandardStream ? "/dev/stdout" : options.archive;
  struct stat status {};
  if (lstat(archive.c_str(), &status) == 0) left_out_.insert(IdOf(status));
  if (S_ISLNK(status.st_mode) && stat(archive.c_str(), &status) == 0) left_out_.insert(IdOf(status));
}

void AddPlan::Add(const std::string& path, const std::string& name) {
  AddItem(path, MemberNameOf(name.empty() ? path : name), HasSideFile(path));
}

void AddPlan::AddItem(const std::string& path, const std::string& name, bool has_side_file) {
  if (IsExcluded(name, excluded_)) return;
  const bool may_have_side_file = !IsExcluded(SideFile::PathFor(name), excluded_);
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0)
    return problems_.Add(ExitCode::kFileError, path, WithCause("left out", errno));
  const bool link = S_ISLNK(status.st_mode);
  if (link && options_.follow_links && stat(path.c_str(), &status) != 0) {
    return problems_.Add(ExitCode::kFileError, path,
                         WithCause("left out, a symbolic link to nothing", errno));
  }
  if (link && options_.follow_links && S_ISDIR(status.st_mode)) {
    return problems_.Note(path + ": left out, a symbolic link to a folder");
  }
  if (link && !options_.follow_links && options_.no_permissions) {
    return problems_.Note(path + ": left out, a symbolic link; --follow-links adds what it points to");
  }
  PlannedItem item = {.path = path, .name = name, .modified = status.st_mtim, .mode = status.st_mode};
  item.id = IdOf(status);
  item.has_side_file = has_side_file && may_have_side_file;
  if (S_ISDIR(status.st_mode)) {
    item.kind = PlannedItem::Kind::kFolder;
    item.name += '/';
    if (IsExcluded(item.name, excluded_)) return;
    if (!name.empty()) TakeUp(std::move(item));  // the present folder has no name of its own
    return AddFolder(path, name);
  }
  if (!S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode)) {
    return problems_.Add(ExitCode::kFileError, path, "left out, neither a file nor a folder");
  }
  if (left_out_.contains(item.id)) return problems_.Note(path + ": left out, it is the archive itself");
  if (S_ISLNK(status.st_mode)) item.kind = PlannedItem::Kind::kLink;
  if (link && options_.follow_links) {
    item.target = RealPath(path);
    item.has_side_file = may_have_side_file && HasSideFile(item.target);
  }
  item.size = static_cast<std::uint64_t>(status.st_size);
  TakeUp(std::move(item));
}

bool AddPlan::GoesWithItsFile(const std::string& path_prefix, const std::vector<std::string>& names,
                              const std::string& name) {
  if (options_.mac_binary == MacBinary::kNever || !name.starts_with(kSidePrefix)) return false;
  const std::string file = name.substr(kSidePrefix.size());
  if (!IsIn(names, file) || !S_ISREG(KindOf(AT_FDCWD, path_prefix + file))) return false;
  const auto item = GetFolderItem(String::Bytes(path_prefix + file));
  MacData data;
  if (const std::int32_t error = item->GetMacData(data)) {
    problems_.Add(ExitCode::kFileError, path_prefix + name, WithCause("left out, cannot be read", -error));
    return true;
  }
  return data.fork_length > 0 || (options_.mac_binary == MacBinary::kAlways && !data.finder.IsEmpty());
}

void AddPlan::AddFolder(const std::string& path, const std::string& name) {
  std::error_code error;
  const std::vector<std::string> names = NamesIn(path, error);
  if (error) {
    // Of a part of the names it could not be told which files have side files.
    return problems_.Add(ExitCode::kFileError, path,
                         WithCause("what is in it is left out, it cannot be read", error.value()));
  }
  const std::string path_prefix = path.back() == '/' ? path : path + "/";
  const std::string name_prefix = name.empty() ? "" : name + "/";
  for (const std::string& each : names) {
    if (GoesWithItsFile(path_prefix, names, each)) continue;
    Interruption::Check();
    AddItem(path_prefix + each, name_prefix + each, IsIn(names, std::string(kSidePrefix) + each));
  }
}

void AddPlan::TakeUp(PlannedItem item) {
  if (wanted_ && !wanted_(item)) return;
  const auto taken = by_name_.find(item.name);
  if (taken == by_name_.end()) {
    total_size_ += item.size;
    items_.push_back(std::move(item));
    by_name_.emplace(items_.back().name, &items_.back());
    return;
  }
  // Two folders of one name become one.
  const PlannedItem& other = *taken->second;
  if (other.id == item.id || item.kind == PlannedItem::Kind::kFolder) return;
  problems_.Add(ExitCode::kFileError, item.path,
                "left out, another file has the name " + item.name + " already");
}

bool AddPlan::HasSideFileOf(const PlannedItem& item) const {
  return item.has_side_file && by_name_.contains(SideFile::PathFor(item.name));
}

std::string WhyLeftOut(const PlannedItem& item, const Ref<ZipArchive>& archive) {
  constexpr std::uint64_t kLargest = 0x7FFFFFFF;
  if (item.size > kLargest) return "left out, it is larger than 2 GiB";
  if (!Preflight::FitsAsName(item.name)) return "left out, its name is longer than 65535 bytes";
  if (!CanStore(archive, item.name))
    return "left out, its name has letters that the archive's encoding lacks";
  return {};
}

}  // namespace vantorel::forkzip
