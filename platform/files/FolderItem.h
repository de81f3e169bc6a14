// A reference to a file or folder that may or may not exist. Making one touches nothing on disk. No operation
// raises on a failed file operation: what cannot be opened or made is nil, what cannot be read is empty or 0.
//
// Classic attributes (type, creator, Finder flags, resource fork) lie in an AppleDouble v2 file `._name`
// beside `name` (RFC 1740). It is made only when there is something to hold, is hidden from listings while
// `name` exists, and follows rename and delete. One that may not be read cannot be known as such: it is
// listed as a member of its folder and left alone.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/base/Ref.h"
#include "platform/files/BinaryStream.h"
#include "platform/files/Date.h"
#include "platform/files/FinderInfo.h"
#include "platform/files/TextInputStream.h"
#include "platform/files/TextOutputStream.h"
#include "platform/text/String.h"

struct stat;

namespace vantorel {

// What the side file of an item holds; nothing set where there is none.
struct MacData {
  FinderInfo finder;
  std::int32_t fork_length = 0;
};

class FolderItem : public Object {
 public:
  // The item at a POSIX path, relative to the working directory of the moment or absolute; a trailing slash,
  // a doubled one and a `.` play no part. Use GetFolderItem.
  explicit FolderItem(std::string path);

  // The item called `name` in this folder, existing or not; a symbolic link is followed (TrueChild: is not).
  // nil if `name` could not be a leaf name: empty, with a slash or a zero byte, `.` or `..`. A labelled name
  // is converted to the system's default encoding, one without a label is taken as it stands.
  Ref<FolderItem> Child(const String& name) const;
  Ref<FolderItem> TrueChild(const String& name) const;
  // The folder that holds this item; nil for the root.
  Ref<FolderItem> Parent() const;

  bool Exists() const;     // a dangling symbolic link exists
  bool Directory() const;  // a link to a folder is no folder
  bool Alias() const;      // a symbolic link, also a dangling one

  String Name() const;
  // Renames on disk; the item then refers to the new name. A side file goes along. Nothing happens on
  // failure, if the name is taken, or if a side file of that name would become the item's.
  void SetName(const String& name);
  String DisplayName() const { return Name(); }
  // The POSIX path; that of an existing folder ends in a slash.
  String AbsolutePath() const;
  // The path without a trailing slash, escaped for /bin/sh.
  String ShellPath() const;

  std::uint64_t Length() const;
  std::int32_t ResourceForkLength() const { return MacDataOrNone().fork_length; }

  // Of the item itself where it is a link. nil if it does not exist; a creation date that the file system
  // does not tell is the modification date. Setting the creation date does nothing on this system, nor does
  // nil.
  Ref<Date> ModificationDate() const;
  void SetModificationDate(const Ref<Date>& date);
  Ref<Date> CreationDate() const;
  void SetCreationDate(const Ref<Date>& date);

  // 4 bytes, or empty where the file has none, as where the side file cannot be read. A shorter one is filled
  // up with blanks, a longer one cut. Those that give a number give 0, or a negative error code (-errno).
  String MacType() const { return MacDataOrNone().finder.TypeText(); }
  std::int32_t SetMacType(const String& type) { return SetCode(&FinderInfo::type, type); }
  String MacCreator() const { return MacDataOrNone().finder.CreatorText(); }
  std::int32_t SetMacCreator(const String& creator) { return SetCode(&FinderInfo::creator, creator); }
  std::int32_t SetFinderInfo(const FinderInfo& info);
  // All of it at once, and whether the side file could be read. Leaves `data` untouched on an error.
  std::int32_t GetMacData(MacData& data) const;

  bool Locked() const;  // no write bit for the owner
  void SetLocked(bool locked);
  bool Visible() const;  // the name does not begin with a dot

  // Identity of the folder that holds this item: from device and inode. 0 if there is no such folder.
  std::int32_t MacVRefNum() const;
  std::int32_t MacDirID() const;

  // The full 16-bit mode word. Both give 0 on success, else a negative error code (-errno).
  std::int32_t GetUnixMode(std::uint16_t& mode) const;
  std::int32_t SetUnixMode(std::uint16_t mode);

  Ref<BinaryStream> OpenAsBinaryFile(bool writable) const;
  // Makes a new file and opens it for reading and writing; nil if the item exists.
  Ref<BinaryStream> CreateBinaryFile(const String& file_type);
  Ref<TextInputStream> OpenAsTextFile() const;
  // Creates or truncates.
  Ref<TextOutputStream> CreateTextFile();

  // Removes a file, a link or an empty folder, with its side file. Harmless if it is not there or cannot go.
  void Delete();
  // Makes the folder in one that exists.
  void CreateAsFolder();

  // Members of a folder in byte order of their names, from 1; nil past the last. The listing is read once for
  // index 1 and kept; asking for index 1 reads it anew. Item follows symbolic links, TrueItem does not.
  Ref<FolderItem> TrueItem(std::int32_t index);
  Ref<FolderItem> Item(std::int32_t index);

  // The POSIX path without a trailing slash.
  const std::string& Path() const { return path_; }

 private:
  // An absolute path as Path gives it.
  struct CleanPath {
    std::string text;
  };
  explicit FolderItem(CleanPath path) : path_(std::move(path.text)) {}
  template <typename T, typename... Args>
  friend Ref<T> New(Args&&... args);

  // Of the item itself. Nothing if there is no such item.
  std::optional<struct stat> Status() const;
  // The path of a member of this folder, empty if the name could not be one.
  std::string MemberPath(const String& name) const;

  // What the side file holds; nothing set if it cannot be read.
  MacData MacDataOrNone() const;
  std::int32_t SetCode(std::array<char, 4> FinderInfo::*field, const String& text);

  std::string path_;
  std::optional<std::vector<std::string>> listing_;  // names
};

// The item at a path string; nil for an empty path. `mode` is always 0.
Ref<FolderItem> GetFolderItem(const String& path, std::int32_t mode = 0);

namespace SpecialFolder {
// $XDG_DATA_HOME, else ~/.local/share; made if missing. nil if neither can be had.
Ref<FolderItem> ApplicationData();
}  // namespace SpecialFolder

}  // namespace vantorel
