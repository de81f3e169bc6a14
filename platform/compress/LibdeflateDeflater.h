#pragma once

#include <cstddef>
#include <memory>

#include "platform/compress/MemberDeflater.h"
#include "platform/compress/PooledState.h"
#include "platform/compress/ZlibDeflater.h"

namespace vantorel {

struct HeldMember;

// Holds the data of a member and deflates it as a whole when it ends; one that grows past the limit goes
// through zlib's stream instead.
class LibdeflateDeflater : public MemberDeflater {
 public:
  static constexpr std::size_t kLimit = 8U << 20U;

  explicit LibdeflateDeflater(const DeflateWays& ways);
  ~LibdeflateDeflater() override;
  LibdeflateDeflater(const LibdeflateDeflater&) = delete;
  LibdeflateDeflater& operator=(const LibdeflateDeflater&) = delete;

  void Write(std::string_view data, IStreamWriter& writer) override;
  void Finish(IStreamWriter& writer) override;
  bool Stored() const override { return stored_; }

 private:
  DeflateWays ways_;
  bool stored_ = false;
  PooledState<HeldMember> held_;
  // Set once the member has grown past the limit.
  std::unique_ptr<ZlibDeflater> stream_;
};

}  // namespace vantorel
