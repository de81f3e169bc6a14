// One engine deflating one gzip member.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "platform/compress/IStreamWriter.h"

namespace vantorel {

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

// The fastest engine of this build.
std::unique_ptr<MemberDeflater> NewDeflater(const DeflateWays& ways = {});

// Members of up to this many bytes are held until they are deflated, so that those that did not shrink can be
// stored.
extern const std::size_t kHeldUpTo;

// Deflates as the data comes.
std::unique_ptr<MemberDeflater> NewZlibDeflater(int level);
// Holds the data of a member and deflates it as a whole when it ends; one that grows past kHeldUpTo goes
// through zlib's stream instead.
std::unique_ptr<MemberDeflater> NewLibdeflateDeflater(const DeflateWays& ways);
// Puts header and trailer around the data and leaves them as they are. No deflate data, then: who takes the
// member must know.
std::unique_ptr<MemberDeflater> NewStoringDeflater();

}  // namespace vantorel
