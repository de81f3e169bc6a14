#include "tools/forkzip/extract/FileShares.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "tools/forkzip/extract/SafePath.h"
#include "tools/forkzip/read/MemberFacts.h"
#include "zip/archive/CarriedName.h"

namespace vantorel::forkzip {

namespace {

constexpr std::size_t kMostFolders = 1U << 20U;

using Hash = std::size_t;

// The hash of what lies in a folder, going by the folder's. Names that may come to be one have one hash: a
// file may get the Mac name that goes with it, which differs in letter case and in what stands for a
// backslash. That others have the same hash does no harm.
Hash HashIn(Hash folder, std::string_view name) {
  std::string folded(name);
  for (char& c : folded) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c == '\\' ? '-' : c;
  return (folder ^ std::hash<std::string>()(folded)) * 0x100000001B3U;
}

std::string_view WithoutSidePrefix(std::string_view name) {
  while (name.starts_with("._")) name.remove_prefix(2);
  return name;
}

struct File {
  Hash name = 0;  // with all folders
  Hash key = 0;   // the same for its side file
};

// Takes up the folders too. Nothing for a member that will be refused.
File HashesOf(const Ref<ZipEntry>& entry, std::size_t strip, std::unordered_set<Hash>& folders) {
  std::vector<std::string> path;
  try {
    path = SafePath(entry, strip);
  } catch (const Failure&) {
    return {};
  }
  if (path.empty()) return {};
  const std::string name = std::move(path.back());
  path.pop_back();
  Hash folder = 0;
  for (const std::string& each : path) {
    folder = HashIn(folder, each);
    folders.insert(folder);
  }
  const File file = {HashIn(folder, name), HashIn(folder, WithoutSidePrefix(name))};
  if (entry->IsDirectory()) folders.insert(file.name);
  return file;
}

}  // namespace

void ShareOutFiles(SharedWork& work, const std::vector<Ref<ZipEntry>>& entries, const ExtractionWays& ways) {
  std::unordered_set<Hash> folders;
  std::vector<File> files;
  String last_name;
  for (const Ref<ZipEntry>& entry : entries) {
    if ((ways.raw && entry->appleDoubleEntry) || folders.size() > kMostFolders) return;
    const String name = entry->RawPath();
    const bool same = !files.empty() && IsCarriedOver(name, last_name);
    files.push_back(same ? files.back() : HashesOf(entry, ways.strip, folders));
    last_name = name;
  }
  std::vector<std::optional<std::uint64_t>> keys(files.size());
  for (std::size_t i = 0; i < files.size(); ++i) {
    if (entries[i]->IsDirectory() || IsSymbolicLink(entries[i])) continue;
    if (folders.contains(files[i].name)) return;
    // A folder's side file waits for it.
    if (!folders.contains(files[i].key)) keys[i] = files[i].key;
  }
  ShareOut(work, keys);
}

}  // namespace vantorel::forkzip
