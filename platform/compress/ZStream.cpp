#include "platform/compress/ZStream.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "platform/base/Exceptions.h"
#include "platform/compress/MemberDeflater.h"
#include "platform/compress/MemberInflater.h"

namespace vantorel {

// The inflating side: pulls a member's bytes from a reader and inflates them in larger pieces than its caller
// asks for.
class GzipReader {
 public:
  explicit GzipReader(const Ref<IStreamReader>& reader) : reader_(reader) {}

  // As ZStream::Read. `status` becomes what the member has come to right behind the bytes returned.
  String Read(std::size_t count, MemberStatus& status) {
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

 private:
  // Fetches the beginning of the member and chooses how to inflate it.
  void Start() {
    started_ = true;
    Fetch();
    if (auto contents = InflateAtOnce(input_)) {
      window_ = String::Adopt(std::move(*contents), nil);
      status_ = MemberStatus::kEnd;
    } else {
      inflater_ = NewInflater(input_);
    }
  }

  // Inflates the next piece into the window; it stays empty only at the end of the member or on a fault.
  void Refill() {
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

  void Fetch() {
    fetched_ = reader_->Read(static_cast<std::int32_t>(kInputPiece));
    input_ = fetched_.view();
    input_ended_ = input_.empty();
  }

  String Take(std::size_t count) {
    if (count >= window_.size()) return std::exchange(window_, String());
    String piece = window_.Slice(0, count);
    window_ = window_.Slice(count);
    return piece;
  }

  Ref<IStreamReader> reader_;
  std::unique_ptr<MemberInflater> inflater_;
  bool started_ = false;
  // What came from the reader last, and the part of it that is still to be inflated.
  String fetched_;
  std::string_view input_;
  bool input_ended_ = false;
  // What is inflated and not yet taken, and what follows it.
  String window_;
  std::size_t next_window_size_ = 65536;  // small, since many a caller only looks at the first bytes
  MemberStatus status_ = MemberStatus::kGoing;
};

ZStream::ZStream(bool write, const Ref<IStreamWriter>& writer, const Ref<IStreamReader>& reader) {
  if (write) {
    deflating_ = NewDeflater();
    writer_ = writer;
  } else {
    inflating_ = std::make_unique<GzipReader>(reader);
  }
}

ZStream::ZStream(std::unique_ptr<MemberDeflater> deflater, const Ref<IStreamWriter>& writer)
    : deflating_(std::move(deflater)), writer_(writer) {}

ZStream::~ZStream() = default;

String ZStream::Read(std::int32_t count) {
  if (inflating_ == nullptr) throw RuntimeException("a ZStream made for writing was read");
  if (count <= 0) return {};
  MemberStatus status = MemberStatus::kGoing;
  String bytes = inflating_->Read(static_cast<std::size_t>(count), status);
  error_value_ = static_cast<std::int32_t>(status);
  return bytes;
}

void ZStream::Write(const String& data) {
  if (deflating_ == nullptr) throw RuntimeException("a ZStream made for reading, or closed, was written");
  deflating_->Write(data.view(), *writer_);
  error_value_ = writer_->LastError();
}

void ZStream::Close() {
  if (deflating_ == nullptr) return;
  const std::unique_ptr<MemberDeflater> last = std::move(deflating_);
  last->Finish(*writer_);
  stored_ = last->Stored();
  error_value_ = writer_->LastError();
}

}  // namespace vantorel
