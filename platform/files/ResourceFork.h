// The resource fork of a file, open for reading or writing: the entry 2 of its AppleDouble side file (RFC
// 1740). Error codes are 0 for success and negative otherwise (-errno).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/base/Ref.h"
#include "platform/files/FolderItem.h"
#include "platform/files/SideFile.h"

namespace vantorel {

class ResourceFork : public Object {
 public:
  using Access = SideFile::Access;

  // For Open, which tells whether it went well.
  ResourceFork(const std::string& item_path, Access access);
  // Opens the fork of `item`, which must exist; a file without one offers an empty fork. With kReadWrite the
  // side file is made on the first write. On failure `error` holds the code and the result is nil.
  static Ref<ResourceFork> Open(const Ref<FolderItem>& item, Access access, std::int32_t& error);

  // At most 2^31 - 1: of a longer fork the rest is not seen.
  std::int32_t GetEOF(std::int32_t& length);
  // Truncates the fork or extends it with zeros.
  std::int32_t SetEOF(std::int32_t length);
  std::int32_t GetFPos(std::int32_t& position);
  // From the start of the fork; may lie behind its end.
  std::int32_t SetFPos(std::int32_t position);
  // Reads up to `count` bytes, fewer at the end of the fork; appends them to `bytes`.
  std::int32_t Read(std::int32_t count, std::string& bytes);
  // What a full disk refuses may show at Close only.
  std::int32_t Write(std::string_view bytes);
  // Returns 0 if all that was written has arrived. Also done when the last reference goes.
  std::int32_t Close();

 private:
  SideFile side_file_;
  bool writable_;
  std::int32_t position_ = 0;
};

}  // namespace vantorel
