#include "tools/forkzip/extract/FileShares.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <unordered_set>

#include "tools/forkzip/extract/SafePath.h"
#include "tools/forkzip/read/MemberFacts.h"
#include "zip/archive/CarriedName.h"

namespace vantorel::forkzip {

namespace {

// Names that may come to be one have one hash: a file may get the Mac name that goes with it, which differs
// in letter case and in what stands for a backslash. That others have the same hash does no harm.
class PathHash {
 public:
  void Add(std::string_view component) {
    for (const char c : component)
      Mix(c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c == '\\' ? '-' : c);
    Mix('/');
  }
  std::uint64_t Value() const { return value_; }

 private:
  void Mix(char c) { value_ = (value_ ^ static_cast<std::uint8_t>(c)) * 0x100000001B3U; }  // FNV-1a

  std::uint64_t value_ = 0xCBF29CE484222325U;
};

std::string_view WithoutSidePrefix(std::string_view name) {
  while (name.starts_with("._")) name.remove_prefix(2);
  return name;
}

class FileShares {
 public:
  FileShares(SharedWork& work, std::size_t strip) : work_(work), strip_(strip) {}

  // False if this member, or the number of folders, calls for one process.
  bool Add(const Ref<ZipEntry>& entry);
  bool Settle();

 private:
  static constexpr std::size_t kMostFolders = 1U << 20U;

  struct File {
    std::uint64_t name;  // with all folders
    std::uint64_t key;   // the same for its side file
  };

  File Hashes(const Ref<ZipEntry>& entry);

  SharedWork& work_;
  std::size_t strip_;
  std::vector<File> files_;  // as the units; those for the calling process unset
  std::unordered_set<std::uint64_t> folders_;
  String last_name_;
};

bool FileShares::Add(const Ref<ZipEntry>& entry) {
  SharedWork::Unit& unit = work_.units[files_.size()];
  if (entry->IsDirectory() || IsSymbolicLink(entry)) unit.share = SharedWork::kOwn;
  const String name = entry->RawPath();
  if (!files_.empty() && IsCarriedOver(name, last_name_)) {
    files_.push_back(files_.back());
  } else {
    files_.push_back(Hashes(entry));
  }
  last_name_ = name;
  return folders_.size() <= kMostFolders;
}

FileShares::File FileShares::Hashes(const Ref<ZipEntry>& entry) {
  std::vector<std::string> path;
  try {
    path = SafePath(entry, strip_);
  } catch (const Failure&) {
    return {};  // it will be refused
  }
  PathHash folder;
  for (std::size_t i = 0; i + 1 < path.size(); ++i) {
    folder.Add(path[i]);
    folders_.insert(folder.Value());
  }
  if (path.empty()) return {};
  PathHash file = folder;
  file.Add(path.back());
  if (entry->IsDirectory()) folders_.insert(file.Value());
  PathHash key = folder;
  key.Add(WithoutSidePrefix(path.back()));
  return {file.Value(), key.Value()};
}

bool FileShares::Settle() {
  std::vector<std::uint64_t> keys;
  for (std::size_t i = 0; i < files_.size(); ++i) {
    keys.push_back(files_[i].key);
    SharedWork::Unit& unit = work_.units[i];
    if (unit.share == SharedWork::kOwn) continue;
    if (folders_.contains(files_[i].name)) return false;
    if (folders_.contains(files_[i].key))
      unit.share = SharedWork::kOwn;  // a folder's side file, which waits for it
  }
  ShareOut(work_, keys);
  return true;
}

}  // namespace

void ShareOutFiles(SharedWork& work, const std::vector<Ref<ZipEntry>>& entries, const ExtractionWays& ways) {
  FileShares shares(work, ways.strip);
  const bool apart = std::all_of(entries.begin(), entries.end(), [&](const Ref<ZipEntry>& entry) {
    return !(ways.raw && entry->appleDoubleEntry) && shares.Add(entry);
  });
  if (!apart || !shares.Settle()) work.shares = 0;
}

}  // namespace vantorel::forkzip
