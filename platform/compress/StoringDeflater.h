#pragma once

#include <cstdint>

#include "platform/compress/MemberDeflater.h"

namespace vantorel {

// Puts header and trailer around the data and leaves them as they are. No deflate data, then: who takes the
// member must know.
class StoringDeflater : public MemberDeflater {
 public:
  void Write(std::string_view data, IStreamWriter& writer) override;
  void Finish(IStreamWriter& writer) override;
  bool Stored() const override { return true; }

 private:
  void Begin(IStreamWriter& writer);

  bool begun_ = false;
  std::int32_t crc_ = 0;
  std::uint32_t size_ = 0;  // modulo 2^32
};

}  // namespace vantorel
