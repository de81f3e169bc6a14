#include "tools/forkzip/edit/Preflight.h"

#include <sys/stat.h>

#include <unordered_set>

#include "platform/base/ByteOrder.h"
#include "platform/files/FileCalls.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/cli/Problems.h"
#include "zip/records/ZipRecords.h"

namespace vantorel::forkzip::Preflight {

namespace {

constexpr std::uint64_t kMostMembers = 65535;
constexpr std::uint64_t kLargestArchive = 0x7FFFFFFF;
constexpr std::size_t kLongestText = 65535;  // a name or a comment

// "a/b/c" lies in "a" and "a/b", and "a/b/" stands for the latter.
std::vector<std::string_view> FoldersOf(std::string_view name) {
  std::vector<std::string_view> folders;
  for (std::size_t slash = name.find('/'); slash != std::string::npos; slash = name.find('/', slash + 1)) {
    folders.push_back(name.substr(0, slash));
  }
  return folders;
}

}  // namespace

void Refuse(const std::string& why) {
  throw Failure(ExitCode::kBadArchive, "not changed: " + why);
}

void CheckDirectory(int file, const RawDirectory& directory) {
  struct stat status {};
  fstat(file, &status);
  const auto length = static_cast<std::uint64_t>(status.st_size);
  if (directory.records.size() > kMostMembers) {
    Refuse("it holds " + Count(directory.records.size(), "member") +
           ", and without Zip64 the format ends at 65535; extract them and make several archives of them");
  }
  if (directory.records.size() != directory.announced) {
    Refuse("its directory announces " + Count(directory.announced, "member") + " but holds " +
           std::to_string(directory.records.size()) +
           "; extract what it holds and make a new archive of that");
  }
  if (directory.unknown != 0) {
    Refuse(
        Count(directory.unknown, "byte") +
        " between its directory and its end record would be lost, and other programs may see other members "
        "there; extract what it holds and make a new archive of that");
  }
  // Zeros are filling, from programs that write in whole blocks.
  const std::string behind =
      length > directory.end ? ReadAt(file, directory.end, length - directory.end) : "";
  if (behind.find_first_not_of('\0') != std::string::npos) {
    Refuse(Count(behind.size(), "byte") +
           " behind the end of the archive would be lost; cut the file there first, if they mean nothing");
  }
  CheckSize(length);
  for (const RawRecord& record : directory.records) {
    if (record.Offset() >= directory.start) {
      Refuse("members lie behind its directory; extract them and make a new archive of them");
    }
  }
}

void CheckCount(std::uint64_t members) {
  if (members <= kMostMembers) return;
  Refuse("it would hold " + Count(members, "member") +
         ", and the format ends at 65535; make a second archive");
}

void CheckSize(std::uint64_t archive_size) {
  if (archive_size <= kLargestArchive) return;
  Refuse(
      "it would pass 2 GiB, where the format of version 2.0 as it is handled here ends; make a second "
      "archive");
}

bool FitsAsName(std::string_view name) {
  return name.size() <= kLongestText;
}

void CheckName(std::string_view name) {
  if (FitsAsName(name)) return;
  Refuse("the new name has " + Count(name.size(), "byte") + ", and the format ends at 65535");
}

void CheckPlaces(const std::vector<RawRecord>& records, const std::vector<std::string>& names) {
  std::unordered_set<std::string_view> files;
  std::unordered_set<std::string_view> folders;
  for (const std::string& name : names) {
    if (!name.ends_with('/')) files.insert(name);
    for (const std::string_view folder : FoldersOf(name)) folders.insert(folder);
  }
  for (const RawRecord& record : records) {
    const std::string_view old = record.Name();
    if (folders.contains(old)) Refuse(std::string(old) + ": exists already, and is no folder");
    for (const std::string_view folder : FoldersOf(old)) {
      if (files.contains(folder)) Refuse(std::string(folder) + ": exists already, as a folder");
    }
  }
}

void CheckComment(const std::string& comment) {
  if (comment.size() > kLongestText) {
    Refuse("the comment has " + Count(comment.size(), "byte") + ", and the format ends at 65535");
  }
  if (comment.find(LittleEndian32(EndRecord::kMagic)) != std::string::npos) {
    Refuse(
        "the comment holds the signature of a directory's end, and the archive could not be read any more");
  }
}

}  // namespace vantorel::forkzip::Preflight
