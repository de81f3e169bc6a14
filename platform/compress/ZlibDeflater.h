#pragma once

#include "platform/compress/MemberDeflater.h"
#include "platform/compress/PooledState.h"

namespace vantorel {

struct ZlibDeflateState;

// Deflates as the data comes.
class ZlibDeflater : public MemberDeflater {
 public:
  explicit ZlibDeflater(int level);
  ~ZlibDeflater() override;
  ZlibDeflater(const ZlibDeflater&) = delete;
  ZlibDeflater& operator=(const ZlibDeflater&) = delete;

  void Write(std::string_view data, IStreamWriter& writer) override;
  void Finish(IStreamWriter& writer) override;

 private:
  void Run(std::string_view data, int flush, IStreamWriter& writer);

  PooledState<ZlibDeflateState> state_;
};

}  // namespace vantorel
