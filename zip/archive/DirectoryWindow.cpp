#include "zip/archive/DirectoryWindow.h"

#include <algorithm>

namespace vantorel {

namespace {

constexpr std::size_t kPieceSize = std::size_t{256} * 1024;

}  // namespace

DirectoryWindow::DirectoryWindow(BinaryStream& stream, std::uint64_t end)
    : stream_(stream), end_(end), position_(stream.Position()) {}

String DirectoryWindow::Read(std::int32_t count) {
  const auto wanted = static_cast<std::size_t>(count);
  if (piece_.size() - used_ < wanted) Refill(wanted);
  String bytes = piece_.Slice(used_, wanted);
  used_ += bytes.size();
  position_ += bytes.size();
  return bytes;
}

void DirectoryWindow::Refill(std::size_t count) {
  const String rest = piece_.Slice(used_);
  const std::uint64_t unread = position_ + rest.size();
  const std::uint64_t ahead = end_ > unread ? end_ - unread : 0;
  const std::size_t size =
      std::max<std::size_t>(count - rest.size(), std::min<std::uint64_t>(kPieceSize, ahead));
  piece_ = rest + stream_.Read(static_cast<std::int32_t>(size));
  used_ = 0;
}

}  // namespace vantorel
