#pragma once

#include "platform/compress/MemberInflater.h"
#include "platform/compress/PooledState.h"

namespace vantorel {

struct ZlibInflateState;

class ZlibInflater : public MemberInflater {
 public:
  ZlibInflater();
  ~ZlibInflater() override;
  ZlibInflater(const ZlibInflater&) = delete;
  ZlibInflater& operator=(const ZlibInflater&) = delete;

  MemberStatus Inflate(std::string_view& input, char* output, std::size_t room,
                       std::size_t& produced) override;

 private:
  PooledState<ZlibInflateState> state_;
};

}  // namespace vantorel
