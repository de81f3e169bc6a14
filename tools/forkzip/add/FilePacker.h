// How the data of files get into an archive: read and deflated, as they are wanted.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/base/Ref.h"
#include "platform/compress/MemberDeflater.h"
#include "tools/forkzip/add/AddPlan.h"
#include "tools/forkzip/add/FileSource.h"

namespace vantorel::forkzip {

class FilePacker {
 public:
  explicit FilePacker(const DeflateWays& ways) : ways_(ways), next_(ways) {}
  FilePacker(const FilePacker&) = delete;
  FilePacker& operator=(const FilePacker&) = delete;
  virtual ~FilePacker() = default;

  // Plain files whose data will be asked for by SourceOf, in this order, though not all need be.
  virtual void Expect(const std::vector<const PlannedItem*>& /*files*/) {}
  // The data of a file. The next deflater is for them.
  virtual Ref<FileSource> SourceOf(const PlannedItem& item);
  virtual std::unique_ptr<MemberDeflater> NewDeflater();

 protected:
  // How an open file is to be deflated. Any thread may ask.
  DeflateWays WaysFor(int file, std::uint64_t size) const;

 private:
  DeflateWays ways_;
  DeflateWays next_;
};

}  // namespace vantorel::forkzip
