#include "platform/files/AppleDoubleTable.h"

#include <algorithm>
#include <array>

#include "platform/files/AppleDouble.h"

namespace vantorel {

namespace Header = AppleDouble::Header;
namespace Entry = AppleDouble::Entry;

AppleDoubleTable::AppleDoubleTable() : entries_(2) {
  entries_[0] = {AppleDouble::kFinderInfoId, Size(), AppleDouble::Finder::kSize};
  entries_[1] = {AppleDouble::kResourceForkId, Size() + AppleDouble::Finder::kSize, 0};
}

std::optional<AppleDoubleTable> AppleDoubleTable::Read(BinaryStream& file) {
  std::array<char, Header::kSize> header{};
  file.SetPosition(0);
  if (file.ReadInto(header.data(), header.size()) != header.size()) return std::nullopt;
  if (Load32(&header[Header::kMagic], ByteOrder::kBig) != AppleDouble::kMagicNumber) return std::nullopt;
  if (Load32(&header[Header::kVersion], ByteOrder::kBig) != AppleDouble::kVersion2) return std::nullopt;

  const std::uint64_t end = file.Length();
  std::vector<AppleDoubleEntry> entries(Load16(&header[Header::kCount], ByteOrder::kBig));
  for (AppleDoubleEntry& entry : entries) {
    std::array<char, Entry::kSize> bytes{};
    if (file.ReadInto(bytes.data(), bytes.size()) != bytes.size()) return std::nullopt;
    entry.id = Load32(&bytes[Entry::kId], ByteOrder::kBig);
    const std::uint64_t offset =
        std::min<std::uint64_t>(Load32(&bytes[Entry::kOffset], ByteOrder::kBig), end);
    const std::uint64_t length =
        std::min<std::uint64_t>(Load32(&bytes[Entry::kLength], ByteOrder::kBig), end - offset);
    entry.offset = static_cast<std::uint32_t>(offset);
    entry.length = static_cast<std::uint32_t>(length);
  }
  return AppleDoubleTable(std::move(entries));
}

AppleDoubleEntry* AppleDoubleTable::Find(std::uint32_t id) {
  const auto found = std::find_if(entries_.begin(), entries_.end(),
                                  [&](const AppleDoubleEntry& entry) { return entry.id == id; });
  return found == entries_.end() || found->offset < Size() ? nullptr : &*found;
}

AppleDoubleEntry* AppleDoubleTable::FinderInfo() {
  AppleDoubleEntry* entry = Find(AppleDouble::kFinderInfoId);
  return entry != nullptr && entry->length >= AppleDouble::Finder::kSize ? entry : nullptr;
}

AppleDoubleEntry* AppleDoubleTable::Fork() {
  return Find(AppleDouble::kResourceForkId);
}

std::uint32_t AppleDoubleTable::Size() const {
  return Header::kSize + static_cast<std::uint32_t>(entries_.size()) * Entry::kSize;
}

std::uint64_t AppleDoubleTable::EndOfOthers(const AppleDoubleEntry& entry) const {
  std::uint64_t end = Size();
  for (const AppleDoubleEntry& other : entries_) {
    if (&other != &entry) end = std::max(end, other.End());
  }
  return end;
}

void AppleDoubleTable::Write(BinaryStream& file) const {
  std::array<char, Header::kSize> header{};
  Store32(&header[Header::kMagic], AppleDouble::kMagicNumber, ByteOrder::kBig);
  Store32(&header[Header::kVersion], AppleDouble::kVersion2, ByteOrder::kBig);
  Store16(&header[Header::kCount], static_cast<std::uint16_t>(entries_.size()), ByteOrder::kBig);
  file.SetPosition(0);
  file.WriteBytes({header.data(), header.size()});
  for (const AppleDoubleEntry& entry : entries_) WriteEntry(file, entry);
}

void AppleDoubleTable::WriteEntry(BinaryStream& file, const AppleDoubleEntry& entry) const {
  const auto index = static_cast<std::size_t>(&entry - entries_.data());
  std::array<char, Entry::kSize> bytes{};
  Store32(&bytes[Entry::kId], entry.id, ByteOrder::kBig);
  Store32(&bytes[Entry::kOffset], entry.offset, ByteOrder::kBig);
  Store32(&bytes[Entry::kLength], entry.length, ByteOrder::kBig);
  file.SetPosition(Header::kSize + index * Entry::kSize);
  file.WriteBytes({bytes.data(), bytes.size()});
}

}  // namespace vantorel
