#include "tools/forkzip/jobs/PackAhead.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
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

// Signals are for the calling thread, whose waits they end.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_{};
};

}  // namespace

// Where a thread puts what comes of its file.
class PackAhead::Pieces : public IStreamWriter {
 public:
  Pieces(PackAhead& packer, Packed& file) : packer_(packer), file_(file) {}

  void Write(const String& data) override {
    Lock lock(packer_.mutex_);
    packer_.room_.wait(
        lock, [&] { return file_.item.size <= kRoom || file_.waiting < kRoom || packer_.IsStopped(); });
    file_.pieces.emplace_back(data.view());
    file_.waiting += data.size();
    packer_.Tell(file_);
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
    file_->wanted += static_cast<std::uint64_t>(std::max(count, 0));
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
    packer_.Drain(*file_, file_->item.size - std::min(file_->wanted, file_->item.size), false, writer);
  }
  void Finish(IStreamWriter& writer) override { packer_.Drain(*file_, 0, true, writer); }
  bool Stored() const override { return file_->stored; }

 private:
  PackAhead& packer_;
  std::shared_ptr<Packed> file_;
};

PackAhead::~PackAhead() {
  stopped_ = true;
  // A thread that is about to wait has the lock, or sees that it is to stop.
  Lock(mutex_).unlock();
  room_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

void PackAhead::Expect(const std::vector<const PlannedItem*>& files) {
  files_ = files;
  std::uint64_t bytes = 0;
  for (const PlannedItem* file : files_) bytes += file->size;
  jobs_ = JobCount(jobs_asked_, files_.size(), bytes, kWorthAThread);
  const SignalsBlocked blocked;
  try {
    while (threads_.size() + 1 < jobs_) threads_.emplace_back([this] { Run(); });
  } catch (const std::system_error&) {
    // There are no more; fewer will do.
  }
}

Ref<FileSource> PackAhead::SourceOf(const PlannedItem& item) {
  if (asked_ == files_.size() || files_[asked_] != &item) return FilePacker::SourceOf(item);
  ++asked_;
  Lock lock(mutex_);
  is_next_ = !ahead_.empty();
  if (!is_next_) {
    next_ = asked_;
    lock.unlock();
    return FilePacker::SourceOf(item);
  }
  current_ = std::move(ahead_.front());
  ahead_.pop_front();
  return New<Source>(*this, current_);
}

std::unique_ptr<MemberDeflater> PackAhead::NewDeflater() {
  if (!std::exchange(is_next_, false)) return FilePacker::NewDeflater();
  return std::make_unique<Deflater>(*this, current_);
}

void PackAhead::Run() {
  Lock lock(mutex_);
  while (next_ < files_.size() && !IsStopped()) {
    if (const auto file = Take(UINT64_MAX)) {
      lock.unlock();
      Pack(*file);
      lock.lock();
    } else {
      room_.wait(lock);
    }
  }
}

std::shared_ptr<PackAhead::Packed> PackAhead::Take(std::uint64_t largest) {
  if (next_ == files_.size()) return nullptr;
  const PlannedItem& item = *files_[next_];
  const std::uint64_t room = std::min(item.size, kRoom);
  if (item.size > largest || taken_ + room > jobs_ * kRoom) return nullptr;
  ++next_;
  taken_ += room;
  return ahead_.emplace_back(std::make_shared<Packed>(Packed{item, item.size, room}));
}

void PackAhead::Pack(Packed& file) {
  std::exception_ptr fault;
  try {
    ReadAndDeflate(file);
  } catch (...) {
    fault = std::current_exception();
  }
  const Lock lock(mutex_);
  file.fault = fault;
  file.done = true;
  taken_ -= file.room;
  file.room = file.waiting;
  taken_ += file.room;
  Tell(file);
  room_.notify_all();
}

void PackAhead::ReadAndDeflate(Packed& file) {
  FileSource source(file.item.Source(), file.item.size);
  Pieces pieces(*this, file);
  if (source.Open()) {
    const DeflateWays ways = WaysFor(source.File(), file.item.size);
    const auto deflater = vantorel::NewDeflater(ways);
    std::uint64_t left = file.item.size;
    while (left != 0 && source.Error() == 0 && !IsStopped()) {
      const String bytes = source.Read(kReadSize);
      if (bytes.empty()) break;
      deflater->Write(bytes.view(), pieces);
      left -= bytes.size();
      const Lock lock(mutex_);
      file.left = left;
      Tell(file);
    }
    if (left == 0) deflater->Finish(pieces);
    file.stored = deflater->Stored();
  }
  const Lock lock(mutex_);
  file.error = source.Error();
}

void PackAhead::Drain(Packed& file, std::uint64_t left, bool end, IStreamWriter& writer) {
  Lock lock(mutex_);
  while (!IsStopped()) {
    if (!file.pieces.empty()) {
      std::vector<std::string> pieces = std::exchange(file.pieces, {});
      const std::uint64_t freed = std::exchange(file.waiting, 0);
      if (file.done) {
        taken_ -= freed;
        file.room -= freed;
      }
      lock.unlock();
      for (std::string& piece : pieces) writer.Write(String::Adopt(std::move(piece), nil));
      lock.lock();
      room_.notify_all();
    } else if (file.done || (!end && file.left <= left)) {
      break;
    } else if (const auto other = Take(kRoom)) {
      lock.unlock();
      Pack(*other);
      lock.lock();
    } else {
      // Not without end, since a signal does not end it.
      changed_.wait_for(lock, std::chrono::milliseconds(50));
    }
  }
  if (file.fault) std::rethrow_exception(file.fault);
}

void PackAhead::Tell(const Packed& file) {
  if (&file == current_.get()) changed_.notify_one();
}

bool PackAhead::IsStopped() const {
  return stopped_ || Interruption::Requested();
}

}  // namespace vantorel::forkzip
