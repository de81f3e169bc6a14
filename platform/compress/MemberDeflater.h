// One engine deflating one gzip member.
#pragma once

#include <string_view>

namespace vantorel {

class IStreamWriter;

class MemberDeflater {
 public:
  virtual ~MemberDeflater() = default;

  virtual void Write(std::string_view data, IStreamWriter& writer) = 0;
  // The rest of the data and the trailer. To be called once.
  virtual void Finish(IStreamWriter& writer) = 0;
};

}  // namespace vantorel
