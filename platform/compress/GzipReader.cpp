#include "platform/compress/GzipReader.h"

#include <algorithm>
#include <string>
#include <utility>

namespace vantorel {

String GzipReader::Read(std::size_t count, MemberStatus& status) {
  if (!started_) Start();
  String result;
  while (result.size() < count) {
    if (window_.empty() && status_ == MemberStatus::kGoing) Refill();
    if (window_.empty()) break;
    const String piece = Take(count - result.size());
    if (result.empty()) {
      result = piece;
    } else {
      result += piece;
    }
  }
  // The trailer is checked together with the last byte, not in a read that may never come.
  if (window_.empty() && status_ == MemberStatus::kGoing) Refill();
  status = window_.empty() ? status_ : MemberStatus::kGoing;
  return result;
}

String GzipReader::Take(std::size_t count) {
  if (count >= window_.size()) return std::exchange(window_, String());
  String piece = window_.Slice(0, count);
  window_ = window_.Slice(count);
  return piece;
}

void GzipReader::Start() {
  started_ = true;
  Fetch();
  if (auto contents = InflateAtOnce(input_)) {
    window_ = String::Adopt(std::move(*contents), nil);
    status_ = MemberStatus::kEnd;
  } else {
    inflater_ = NewInflater(input_);
  }
}

void GzipReader::Refill() {
  std::string window(next_window_size_, '\0');
  next_window_size_ = 262144;
  std::size_t filled = 0;
  while (filled < window.size() && status_ == MemberStatus::kGoing) {
    if (input_.empty() && !input_ended_) Fetch();
    const std::size_t offered = input_.size();
    std::size_t produced = 0;
    status_ = inflater_->Inflate(input_, window.data() + filled, window.size() - filled, produced);
    filled += produced;
    const bool stuck = produced == 0 && input_.size() == offered;
    if (status_ == MemberStatus::kGoing && stuck && input_ended_) status_ = MemberStatus::kTruncated;
  }
  window.resize(filled);
  window_ = String::Adopt(std::move(window), nil);
}

void GzipReader::Fetch() {
  fetched_ = reader_->Read(static_cast<std::int32_t>(kInputPiece));
  input_ = fetched_.view();
  input_ended_ = input_.empty();
}

}  // namespace vantorel
