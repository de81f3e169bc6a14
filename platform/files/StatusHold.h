// While one lives, what an item says of its existence, kind, length, modification and mode comes from a
// single look at the disk, taken when it was made: for a run of questions about one moment, at the price of
// one. The item must not be changed through the same FolderItem meanwhile.
#pragma once

#include <sys/stat.h>

#include <optional>

#include "platform/base/Ref.h"
#include "platform/files/FolderItem.h"

namespace vantorel {

class StatusHold {
 public:
  explicit StatusHold(const Ref<FolderItem>& item);
  StatusHold(const StatusHold&) = delete;
  StatusHold& operator=(const StatusHold&) = delete;
  ~StatusHold();

  // Of the item itself, not of what a link points to. Nothing if there is no such item.
  const std::optional<struct stat>& Status() const { return status_; }

 private:
  Ref<FolderItem> item_;
  std::optional<struct stat> status_;
  const StatusHold* outer_;
};

}  // namespace vantorel
