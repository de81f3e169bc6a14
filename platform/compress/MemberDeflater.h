// One engine deflating one gzip member.
#pragma once

#include <string_view>

namespace vantorel {

class IStreamWriter;

inline constexpr int kDefaultDeflateLevel = 6;

struct DeflateWays {
  // As zlib counts, whichever engine is at work: 1 (quick) to 9 (small); 0 only stores.
  int level = kDefaultDeflateLevel;
  // Data that deflating would not make smaller may be stored as they are, where that shows in time.
  bool may_store = false;
};

class MemberDeflater {
 public:
  virtual ~MemberDeflater() = default;

  virtual void Write(std::string_view data, IStreamWriter& writer) = 0;
  // The rest of the data and the trailer. To be called once.
  virtual void Finish(IStreamWriter& writer) = 0;
  // Once that is done: whether the data stand between header and trailer as they are, not deflated.
  virtual bool Stored() const { return false; }
};

}  // namespace vantorel
