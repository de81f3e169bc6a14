// The resource fork of a file, open for reading or writing: the entry 2 of its AppleDouble side file (RFC
// 1740). Error codes are 0 for success and negative otherwise (-errno).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/base/Ref.h"
#include "platform/files/FolderItem.h"

namespace vantorel {

class ResourceFork : public Object {
 public:
  enum class Access { kRead, kReadWrite };

  // Opens the fork of `item`, which must exist; a file without one offers an empty fork. With kReadWrite the
  // side file is made on the first write. On failure `error` holds the code and the result is nil.
  static Ref<ResourceFork> Open(const Ref<FolderItem>& item, Access access, std::int32_t& error);
  // Closes if Close was not called.
  ~ResourceFork() override;

  std::int32_t GetEOF(std::int32_t& length);
  std::int32_t SetEOF(std::int32_t length);
  std::int32_t GetFPos(std::int32_t& position);
  // From the start of the fork.
  std::int32_t SetFPos(std::int32_t position);
  // Reads up to `count` bytes; appends them to `bytes`.
  std::int32_t Read(std::int32_t count, std::string& bytes);
  std::int32_t Write(std::string_view bytes);
  std::int32_t Close();
};

}  // namespace vantorel
