#include "zip/archive/DirectoryWindow.h"

#include <algorithm>
#include <string>

#include "zip/records/ZipRecords.h"

namespace vantorel {

namespace {

constexpr std::size_t kPieceSize = std::size_t{64} * 1024;

}  // namespace

DirectoryWindow::DirectoryWindow(BinaryStream& stream, std::uint64_t end)
    : stream_(stream), end_(end), position_(stream.Position()) {}

String DirectoryWindow::ReadRecord() {
  constexpr std::size_t kHead = CentralHeader::kSize;
  const std::string_view head = Ahead(kHead);
  if (head.size() < kHead) {
    position_ += head.size();
    used_ = piece_.size();
    return String::Bytes(std::string(head) + std::string(kHead - head.size(), '\0'));
  }
  const std::size_t size = CentralRecordSize(head);
  Ahead(size);
  String record = piece_.Slice(used_, size);
  used_ += record.size();
  position_ += record.size();
  return record;
}

std::string_view DirectoryWindow::Ahead(std::size_t count) {
  if (piece_.size() - used_ < count) {
    const String rest = piece_.Slice(used_);
    const std::uint64_t unread = position_ + rest.size();
    const std::uint64_t to_end = end_ > unread ? end_ - unread : 0;
    const std::size_t size =
        std::max<std::size_t>(count - rest.size(), std::min<std::uint64_t>(kPieceSize, to_end));
    piece_ = rest + stream_.Read(static_cast<std::int32_t>(size));
    used_ = 0;
  }
  return piece_.view().substr(used_);
}

}  // namespace vantorel
