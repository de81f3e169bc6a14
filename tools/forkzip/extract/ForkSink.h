// A resource fork that is written once it turns out that a member has one.
#pragma once

#include <functional>
#include <utility>

#include "zip/extract/RsrcForkWriter.h"

namespace vantorel::forkzip {

class ForkSink : public RsrcForkWriter {
 public:
  // `stage` gives the item whose fork it is. It may raise Failure.
  explicit ForkSink(std::function<Ref<FolderItem>()> stage) : RsrcForkWriter(nil), stage_(std::move(stage)) {}

  bool Open() override {
    f = stage_();
    return RsrcForkWriter::Open();
  }
  // Records what shows only now.
  bool Close() override {
    if (refnum && errCode == 0) errCode = refnum->Close();
    return RsrcForkWriter::Close();
  }

 private:
  std::function<Ref<FolderItem>()> stage_;
};

}  // namespace vantorel::forkzip
