#include "tools/forkzip/jobs/PackAhead.h"

#include <algorithm>
#include <chrono>
#include <system_error>
#include <utility>

#include "platform/compress/IStreamWriter.h"
#include "platform/compress/MemberDeflater.h"
#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/jobs/JobCount.h"

namespace vantorel::forkzip {

namespace {

// What may wait to be written of a file, and for each thread. A file up to this size is held whole.
constexpr std::uint64_t kRoom = 8U << 20U;
constexpr std::size_t kReadSize = 65536;
constexpr std::uint64_t kWorthAThread = 1U << 20U;

}  // namespace

// Where a thread puts what comes of its file.
class PackAhead::Pieces : public IStreamWriter {
 public:
  Pieces(PackAhead& packer, Packed& file) : packer_(packer), file_(file) {}

  void Write(const String& data) override {
    Lock lock(packer_.mutex_);
    packer_.room_.wait(lock,
                       [&] { return !file_.IsLarge() || file_.waiting < kRoom || packer_.IsStopped(); });
    file_.pieces.emplace_back(data.view());
    file_.waiting += data.size();
  }
  std::int32_t LastError() override { return 0; }

 private:
  PackAhead& packer_;
  Packed& file_;
};

// Delivers nothing: the data go another way.
class PackAhead::Source : public FileSource {
 public:
  Source(PackAhead& packer, std::shared_ptr<Packed> file)
      : FileSource(file->item.Source(), file->item.size), packer_(packer), file_(std::move(file)) {}

  bool Open() override { return true; }
  String Read(std::int32_t count) override {
    file_->to_come -= std::min<std::uint64_t>(file_->to_come, static_cast<std::uint32_t>(std::max(count, 0)));
    return {};
  }
  void Close() override {
    const Lock lock(packer_.mutex_);
    SetOutcome(file_->error, file_->left);
  }

 private:
  PackAhead& packer_;
  std::shared_ptr<Packed> file_;
};

// Keeps pace with what is asked of the source.
class PackAhead::Deflater : public MemberDeflater {
 public:
  Deflater(PackAhead& packer, std::shared_ptr<Packed> file) : packer_(packer), file_(std::move(file)) {}

  void Write(std::string_view /*data*/, IStreamWriter& writer) override {
    WriteUntil([this] { return file_->done || file_->left <= file_->to_come; }, writer);
  }
  void Finish(IStreamWriter& writer) override {
    WriteUntil([this] { return file_->done; }, writer);
    if (file_->fault) std::rethrow_exception(file_->fault);
  }
  bool Stored() const override { return file_->stored; }

 private:
  // Writes what there is of the file, until that holds and nothing is left.
  void WriteUntil(const std::function<bool()>& holds, IStreamWriter& writer) {
    Lock lock(packer_.mutex_);
    while (true) {
      packer_.WaitUntil(lock, [&] { return !file_->pieces.empty() || holds(); });
      if (file_->pieces.empty()) break;
      std::vector<std::string> pieces = std::exchange(file_->pieces, {});
      file_->waiting = 0;
      packer_.room_.notify_all();
      lock.unlock();
      for (std::string& piece : pieces) writer.Write(String::Adopt(std::move(piece), nil));
      lock.lock();
    }
  }

  PackAhead& packer_;
  std::shared_ptr<Packed> file_;
};

bool PackAhead::Packed::IsLarge() const {
  return item.size > kRoom;
}

PackAhead::~PackAhead() {
  stopped_ = true;
  // A thread that is about to wait has the lock, or sees that it is to stop.
  Lock(mutex_).unlock();
  room_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

void PackAhead::Expect(const std::vector<const PlannedItem*>& files) {
  std::uint64_t bytes = 0;
  for (const PlannedItem* file : files) bytes += file->size;
  jobs_ = JobCount(jobs_, files.size(), bytes, kWorthAThread);
  if (jobs_ == 1) return;
  files_ = files;
  try {
    while (threads_.size() < jobs_) threads_.emplace_back([this] { Run(); });
  } catch (const std::system_error&) {
    // There are no more; fewer will do.
    if (threads_.empty()) files_.clear();
  }
}

Ref<FileSource> PackAhead::SourceOf(const PlannedItem& item) {
  if (asked_ == files_.size() || files_[asked_] != &item) return FilePacker::SourceOf(item);
  Lock lock(mutex_);
  if (asked_++ != 0) {
    SetRoom(*ahead_.front(), 0);
    ahead_.pop_front();
  }
  WaitUntil(lock, [this] { return !ahead_.empty() && (ahead_.front()->IsLarge() || ahead_.front()->done); });
  if (IsStopped()) throw Interrupted();
  if (ahead_.front()->IsLarge()) SetRoom(*ahead_.front(), 0);
  is_next_ = true;
  return New<Source>(*this, ahead_.front());
}

std::unique_ptr<MemberDeflater> PackAhead::NewDeflater() {
  if (!std::exchange(is_next_, false)) return FilePacker::NewDeflater();
  const Lock lock(mutex_);
  return std::make_unique<Deflater>(*this, ahead_.front());
}

void PackAhead::Run() {
  Lock lock(mutex_);
  while (next_ < files_.size() && !IsStopped()) {
    const PlannedItem& item = *files_[next_];
    const std::uint64_t room = std::min(item.size, kRoom);
    if (taken_ + room > jobs_ * kRoom) {
      room_.wait(lock);
      continue;
    }
    ++next_;
    taken_ += room;
    const auto file = ahead_.emplace_back(std::make_shared<Packed>(Packed{item, item.size, room, item.size}));
    if (file->IsLarge()) Tell(*file);
    lock.unlock();
    try {
      Pack(*file);
    } catch (...) {
      file->fault = std::current_exception();
    }
    lock.lock();
    file->done = true;
    if (file->room != 0) SetRoom(*file, file->waiting);
    Tell(*file);
  }
}

void PackAhead::Pack(Packed& file) {
  FileSource source(file.item.Source(), file.item.size);
  Pieces pieces(*this, file);
  std::uint64_t left = file.item.size;
  if (source.Open()) {
    const DeflateWays ways = WaysFor(source.File(), file.item.size);
    const auto deflater = vantorel::NewDeflater(ways);
    while (left != 0 && source.Error() == 0 && !IsStopped()) {
      const String bytes = source.Read(kReadSize);
      if (bytes.empty()) break;
      deflater->Write(bytes.view(), pieces);
      left -= bytes.size();
      if (!file.IsLarge()) continue;
      const Lock lock(mutex_);
      file.left = left;
      Tell(file);
    }
    if (left == 0) deflater->Finish(pieces);
    file.stored = deflater->Stored();
  }
  // Of a large file both may be looked at before it is done.
  const Lock lock(mutex_);
  file.left = left;
  file.error = source.Error();
}

void PackAhead::WaitUntil(Lock& lock, const std::function<bool()>& holds) {
  // Not without end, since a signal does not end it, whichever thread it comes to.
  while (!holds() && !IsStopped()) changed_.wait_for(lock, std::chrono::milliseconds(50));
}

void PackAhead::SetRoom(Packed& file, std::uint64_t room) {
  taken_ += room - std::exchange(file.room, room);
  room_.notify_all();
}

void PackAhead::Tell(const Packed& file) {
  if (!ahead_.empty() && &file == ahead_.front().get()) changed_.notify_one();
}

bool PackAhead::IsStopped() const {
  return stopped_ || Interruption::Requested();
}

}  // namespace vantorel::forkzip
