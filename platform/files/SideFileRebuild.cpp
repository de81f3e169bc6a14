// SideFile: writing the side file anew where its table lacks an entry that is needed, or the fork is not
// last.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>

#include "platform/files/AppleDouble.h"
#include "platform/files/SideFile.h"

namespace vantorel {
namespace {

struct EntryMove {
  AppleDoubleEntry from;  // id 0: there was none, and the new place is zeros
  AppleDoubleEntry to;
};

// The entries in their new order: those of the old table but for a damaged Finder info, and the two that are
// needed; the fork last.
std::vector<EntryMove> PlanMoves(AppleDoubleTable& old_table) {
  const AppleDoubleEntry* finder = old_table.FinderInfo();
  const AppleDoubleEntry* fork = old_table.Fork();
  std::vector<EntryMove> moves;
  if (finder == nullptr) moves.push_back({{}, {AppleDouble::kFinderInfoId, 0, AppleDouble::Finder::kSize}});
  for (const AppleDoubleEntry& entry : old_table.Entries()) {
    const bool has_own_place =
        entry.id == AppleDouble::kFinderInfoId || entry.id == AppleDouble::kResourceForkId;
    if (!has_own_place || &entry == finder) moves.push_back({entry, entry});
  }
  moves.push_back(fork != nullptr ? EntryMove{*fork, *fork} : EntryMove{{}, {AppleDouble::kResourceForkId}});
  return moves;
}

void CopyEntry(BinaryStream& source, const EntryMove& move, BinaryStream& target) {
  std::array<char, 16384> chunk{};
  for (std::uint32_t done = 0; done < move.to.length;) {
    const std::uint32_t count = std::min<std::uint32_t>(move.to.length - done, chunk.size());
    source.SetPosition(std::uint64_t{move.from.offset} + done);
    if (move.from.id != 0) source.ReadInto(chunk.data(), count);
    target.SetPosition(std::uint64_t{move.to.offset} + done);
    target.WriteBytes({chunk.data(), count});
    done += count;
  }
}

}  // namespace

bool SideFile::Rebuild() {
  std::vector<EntryMove> moves = PlanMoves(table_);
  AppleDoubleTable table;
  table.Entries().clear();
  for (const EntryMove& move : moves) table.Entries().push_back(move.to);
  std::uint64_t end = table.Size();
  for (std::size_t i = 0; i < moves.size(); ++i) {
    moves[i].to.offset = table.Entries()[i].offset = static_cast<std::uint32_t>(end);
    end += moves[i].to.length;
  }
  // Entries that share their data would make the new file larger than all that there is to hold.
  const std::uint64_t added = AppleDouble::Finder::kSize + 2 * AppleDouble::Entry::kSize;
  constexpr std::uint64_t kFarthest = 0xFFFFFFFF;
  if (moves.size() > 0xFFFF || end > std::min(kFarthest, stream_->Length() + added)) return Fail(-EINVAL);

  std::string path = path_.substr(0, path_.rfind('/') + 1) + ".vantorel-XXXXXX";
  const int descriptor = mkostemp(path.data(), O_CLOEXEC);
  if (descriptor < 0) return Fail(-errno);
  struct stat old_file {};
  if (stat(path_.c_str(), &old_file) == 0) fchmod(descriptor, old_file.st_mode);
  const Ref<BinaryStream> file = New<BinaryStream>(descriptor, true, std::uint64_t{0});
  table.Write(*file);
  for (const EntryMove& move : moves) CopyEntry(*stream_, move, *file);
  Fail(stream_->ReadErrorCode());
  if (error_ != 0 || !file->Flush() || rename(path.c_str(), path_.c_str()) != 0) {
    Fail(file->WriteError() ? file->WriteErrorCode() : -errno);
    unlink(path.c_str());
    return false;
  }
  stream_ = file;
  table_ = table;
  changed_ = true;
  return true;
}

}  // namespace vantorel
