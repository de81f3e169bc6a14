// What a command line asks to be added: all items, with the names they get, before anything is written.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "tools/forkzip/add/AddingOptions.h"
#include "tools/forkzip/cli/Problems.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel::forkzip {

using FileId = std::pair<dev_t, ino_t>;

struct PlannedItem {
  enum class Kind { kFile, kFolder, kLink };

  Kind kind = Kind::kFile;
  std::string path;
  std::string name;  // in the archive; a folder's ends in "/"
  std::uint64_t size = 0;
  struct timespec modified;
  std::uint32_t mode;
  FileId id{};
  bool has_side_file = false;  // "._name" lies beside it, and is not excluded
  std::string target{};        // what a link leads to that is followed, else empty

  // The path of what is to be read.
  const std::string& Source() const { return target.empty() ? path : target; }
};

class AddPlan {
 public:
  // The archive itself, or what standard output goes to in its place, is not added to itself. There need be
  // no such file yet. REQUIRES: both outlive the plan.
  AddPlan(const AddingOptions& options, Problems& problems);

  // From now on items are passed over unless `wanted` says yes.
  void Restrict(std::function<bool(const PlannedItem& item)> wanted) { wanted_ = std::move(wanted); }

  // Plans an item, and for a folder what is in it, in byte order of the names. What cannot be added is a
  // problem; an item that is planned already is passed over. Raises Interrupted. `name`: what it is to be
  // called in the archive; empty: as its path, less what leads upward or to the root.
  void Add(const std::string& path, const std::string& name);

  // Whether the side file of an item is planned as a member of its own.
  bool HasSideFileOf(const PlannedItem& item) const;
  const std::deque<PlannedItem>& Items() const { return items_; }
  std::uint64_t TotalSize() const { return total_size_; }

 private:
  void AddItem(const std::string& path, const std::string& name, bool has_side_file);
  void AddFolder(const std::string& path, const std::string& name);
  // Whether `name`, one of a folder's names, is a side file whose content goes into the MacBinary wrapping of
  // the file it belongs to. One that cannot be read is a problem.
  bool GoesWithItsFile(const std::string& path_prefix, const std::vector<std::string>& names,
                       const std::string& name);
  // Takes the item up if no other bears its name yet. Another file of the same name is a problem.
  void TakeUp(PlannedItem item);

  const AddingOptions& options_;
  Problems& problems_;
  std::vector<std::string> excluded_;  // patterns as names in the archive are
  std::set<FileId> left_out_;
  std::function<bool(const PlannedItem&)> wanted_;
  std::deque<PlannedItem> items_;  // which stay where they are
  std::unordered_map<std::string_view, const PlannedItem*> by_name_;
  std::uint64_t total_size_ = 0;
};

// Why an item can be no member of an archive with its encoding, or nothing.
std::string WhyLeftOut(const PlannedItem& item, const Ref<ZipArchive>& archive);

// "../a/./b" and "/a/b" as "a/b".
std::string MemberNameOf(const std::string& path);

}  // namespace vantorel::forkzip
