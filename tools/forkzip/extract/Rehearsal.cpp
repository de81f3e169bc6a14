#include "tools/forkzip/extract/Rehearsal.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <map>

#include "platform/base/Descriptor.h"
#include "platform/files/FileCalls.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/extract/FileSink.h"
#include "tools/forkzip/extract/SafePath.h"
#include "tools/forkzip/extract/SideFileGuard.h"
#include "tools/forkzip/read/MemberFacts.h"

namespace vantorel::forkzip {

namespace {

class Rehearsal {
 public:
  explicit Rehearsal(const ExtractionWays& ways) : ways_(ways) {
    struct stat status {};
    const int error = stat(ways.root.c_str(), &status) != 0 ? errno : S_ISDIR(status.st_mode) ? 0 : ENOTDIR;
    if (error != 0 && error != ENOENT) throw SystemFailure("destination " + ways.root, error);
  }

  // Raises Failure if a member would be refused or could not take its place; false if it would be passed
  // over. REQUIRES: symbolic links come behind all other members, as they do when they are made.
  bool Check(const Ref<ZipEntry>& entry) {
    if (IsPassedOver(entry, ways_.strip)) return false;
    const std::vector<std::string> path = SafePath(entry, ways_.strip);
    if (!entry->IsDirectory()) RefuseIfNotUnpacked(entry);
    std::string at = ways_.root;
    for (std::size_t i = 0; i < path.size(); ++i) {
      const std::string folder = at;
      at += "/" + path[i];
      const bool is_last = i + 1 == path.size();
      if (is_last) CheckSideFile(entry, folder, path[i]);
      if (is_last && !entry->IsDirectory()) {
        if (!MayTake(entry, at)) return false;
        taken_[at] = S_IFREG;
        return true;
      }
      const mode_t kind = KindAt(at);
      if (S_ISLNK(kind)) Refuse("a symbolic link is in the way: " + at);
      if (kind != 0 && !S_ISDIR(kind)) throw SystemFailure("folder " + at, ENOTDIR);
      taken_[at] = S_IFDIR;
    }
    return true;
  }

 private:
  bool MayTake(const Ref<ZipEntry>& entry, const std::string& place) const {
    const mode_t kind = KindAt(place);
    if (kind == 0 || (IsUnfinished(kind) && !IsSymbolicLink(entry))) return true;
    if (S_ISDIR(kind) || !ways_.overwrite) {
      FailToPlace(AT_FDCWD, place, S_ISDIR(kind) ? EISDIR : EEXIST, ways_.overwrite);
    }
    return !ways_.newer || IsNewerThanThere(entry, AT_FDCWD, place);
  }

  // Of members in MacBinary it does not show whether they have Mac data.
  void CheckSideFile(const Ref<ZipEntry>& entry, const std::string& folder, const std::string& name) const {
    if (ways_.raw || !entry->appleDoubleEntry) return;
    const Descriptor there(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (there.IsOpen()) SideFileGuard(ways_.overwrite).CheckSideFile(there.Number(), folder, name);
  }

  // What is in a place by then: the mode's kind, 0 for nothing.
  mode_t KindAt(const std::string& place) const {
    const auto taken = taken_.find(place);
    return taken == taken_.end() ? KindOf(AT_FDCWD, place) : taken->second;
  }

  const ExtractionWays& ways_;
  std::map<std::string, mode_t> taken_;  // places that members before have taken
};

}  // namespace

std::vector<bool> Rehearse(const ExtractionWays& ways, const std::vector<Ref<ZipEntry>>& entries,
                           Problems& problems) {
  Rehearsal rehearsal(ways);
  std::vector<bool> extracted(entries.size());
  for (const bool links : {false, true}) {  // in the order in which they are made
    for (std::size_t i = 0; i < entries.size(); ++i) {
      try {
        if (IsSymbolicLink(entries[i]) == links) extracted[i] = rehearsal.Check(entries[i]);
      } catch (const Failure& failure) {
        problems.Add(failure.Code(), Utf8(entries[i]->RawPath()), failure.what());
      }
    }
  }
  return extracted;
}

}  // namespace vantorel::forkzip
