// A resource fork that is written once it turns out that a member has one.
#pragma once

#include <functional>
#include <utility>

#include "zip/extract/RsrcForkWriter.h"

namespace vantorel::forkzip {

class ForkSink : public RsrcForkWriter {
 public:
  // `item` gives the file whose fork it is. It is called by Open, and may raise Failure.
  explicit ForkSink(std::function<Ref<FolderItem>()> item) : RsrcForkWriter(nil), item_(std::move(item)) {}

  Ref<FolderItem> FSSpecOfFolderItem(const Ref<FolderItem>& /*item*/) override { return item_(); }
  // Records what shows only now.
  bool Close() override;

  // The system's error, 0 if there was none.
  int Error() const { return -errCode; }

 private:
  std::function<Ref<FolderItem>()> item_;
};

}  // namespace vantorel::forkzip
