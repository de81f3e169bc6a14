#pragma once

#include "platform/compress/GzipFraming.h"
#include "platform/compress/MemberInflater.h"
#include "platform/compress/PooledState.h"

namespace vantorel {

struct IsalInflateState;

// For members whose header has no optional fields and lies whole in the first input.
class IsalInflater : public MemberInflater {
 public:
  IsalInflater();
  ~IsalInflater() override;
  IsalInflater(const IsalInflater&) = delete;
  IsalInflater& operator=(const IsalInflater&) = delete;

  MemberStatus Inflate(std::string_view& input, char* output, std::size_t room,
                       std::size_t& produced) override;

 private:
  PooledState<IsalInflateState> state_;
  std::size_t header_left_ = kGzipHeaderLength;
};

}  // namespace vantorel
