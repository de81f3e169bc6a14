// The side file of an item, open for a while: the AppleDouble file `._name` beside `name` that holds the
// classic attributes. It is made when there is first something to hold and goes when nothing is left. Entries
// that mean nothing here are kept. A file of that name that is no AppleDouble file is never read nor written.
//
// Errors are negative system numbers and stick: once there is one, nothing more is done.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/files/AppleDoubleTable.h"
#include "platform/files/FinderInfo.h"

namespace vantorel {

class SideFile {
 public:
  enum class Access { kRead, kReadWrite };

  SideFile(const std::string& item_path, Access access);
  SideFile(const SideFile&) = delete;
  SideFile& operator=(const SideFile&) = delete;
  // Closes if Close was not called.
  ~SideFile();

  static std::string PathFor(const std::string& item_path);
  // True for a name of the form of a side file's; the second gives the name of its item.
  static bool IsNamedLikeOne(std::string_view name);
  static std::string ItemNameOf(const std::string& name);
  // True if there is an AppleDouble file at `path`, as far as it can be read.
  static bool IsOne(const std::string& path);
  // Moves the side file of an item that is about to be renamed. 0 if that is done or there is none, else the
  // system's error: EEXIST if another one is in the way, or would become the item's.
  static int Move(const std::string& item_path, const std::string& new_item_path);
  // Removes the side file of an item that is gone.
  static void Delete(const std::string& item_path);
  // Lets those read the side file who may read an item of this mode, and the owner at any rate.
  static void FollowMode(const std::string& item_path, mode_t item_mode);

  // Whether the item's side file, or the lack of one, could be made out, and all that was asked of it be
  // read.
  std::int32_t Error() const { return error_ == 0 && stream_ ? stream_->ReadErrorCode() : error_; }

  FinderInfo GetFinderInfo();
  void SetFinderInfo(const FinderInfo& info);

  // At most 2^31 - 1.
  std::int32_t ForkLength();
  void SetForkLength(std::int32_t length);
  // Returns the count of bytes read; fewer than `count` at the end of the fork.
  std::size_t ReadFork(std::int32_t position, char* buffer, std::size_t count);
  // A gap between the end of the fork and `position` fills with zeros.
  void WriteFork(std::int32_t position, std::string_view bytes);

  // Writes what is outstanding and returns the error, 0 if there was none: also of what was to be read.
  std::int32_t Close();

 private:
  // Keeps the first error. Gives false.
  bool Fail(std::int32_t error);
  // Each of these makes sure of something before a write; false, with the error set, if it cannot be had.
  bool MakeNew();
  bool EnsureEntries();
  bool EnsureForkIsLast();
  // Writes the file anew with both entries, the fork last.
  bool Rebuild();
  bool HoldsNothing();

  std::string item_path_;
  std::string path_;
  Ref<BinaryStream> stream_;  // nil while there is no file
  AppleDoubleTable table_;
  bool is_new_ = false;  // made by this object
  bool changed_ = false;
  bool fork_is_last_ = false;
  std::int32_t error_ = 0;
};

}  // namespace vantorel
