#include "tools/forkzip/add/FilePacker.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <exception>
#include <new>
#include <string>
#include <utility>

#include "platform/compress/IStreamWriter.h"
#include "tools/forkzip/add/PackedKind.h"
#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/jobs/JobCount.h"

namespace vantorel::forkzip {

namespace {

// What may wait to be written for each thread, and of the file that is being written besides.
constexpr std::uint64_t kRoom = 6U << 20U;
constexpr std::size_t kPieceCost = 256;  // beside its bytes
constexpr std::size_t kReadSize = 65536;
constexpr std::uint64_t kWorthAThread = 1U << 20U;

}  // namespace

// A file that one of the threads has taken up, and what has come of it.
class FilePacker::Packed : public IStreamWriter {
 public:
  Packed(FilePacker& packer, const PlannedItem& planned) : item(planned), packer_(packer) {}

  void Write(const String& data) override {
    Lock lock(packer_.mutex_);
    packer_.room_.wait(lock, [this] { return packer_.HasRoomFor(*this) || packer_.IsStopped(); });
    pieces.emplace_back(data.view());
    waiting += data.size() + kPieceCost;
    packer_.waiting_ += data.size() + kPieceCost;
    packer_.Tell(*this);
  }
  std::int32_t LastError() override { return 0; }

  const PlannedItem& item;
  std::uint64_t to_come = 0;        // bytes that the engine has not asked for; only the calling thread looks
  std::uint64_t left = 0;           // bytes that are not deflated yet
  std::vector<std::string> pieces;  // of the gzip member, to be written
  std::uint64_t waiting = 0;        // bytes in them
  int error = 0;                    // of the system
  bool grew = false;
  bool stored = false;
  bool opened = false;
  bool done = false;

 private:
  FilePacker& packer_;
};

// Delivers nothing: the data go another way.
class FilePacker::Source : public FileSource {
 public:
  Source(FilePacker& packer, std::shared_ptr<Packed> file)
      : FileSource(file->to_come), packer_(packer), file_(std::move(file)) {}

  bool Open() override { return true; }
  String Read(std::int32_t count) override {
    file_->to_come -= std::min<std::uint64_t>(file_->to_come, static_cast<std::uint32_t>(std::max(count, 0)));
    return {};
  }
  void Close() override {
    const Lock lock(packer_.mutex_);
    SetOutcome(file_->error, file_->left, file_->grew);
  }

 private:
  FilePacker& packer_;
  std::shared_ptr<Packed> file_;
};

// Keeps pace with what is asked of the source.
class FilePacker::Deflater : public MemberDeflater {
 public:
  Deflater(FilePacker& packer, std::shared_ptr<Packed> file) : packer_(packer), file_(std::move(file)) {}

  void Write(std::string_view /*data*/, IStreamWriter& writer) override {
    WriteUntil([this] { return file_->left <= file_->to_come; }, writer);
  }
  void Finish(IStreamWriter& writer) override {
    WriteUntil([] { return false; }, writer);
  }
  bool Stored() const override { return file_->stored; }

 private:
  // Writes what there is of the file, until that holds or all is done, and nothing is left.
  void WriteUntil(const std::function<bool()>& holds, IStreamWriter& writer) {
    Lock lock(packer_.mutex_);
    while (true) {
      packer_.WaitUntil(lock, [&] { return !file_->pieces.empty() || file_->done || holds(); });
      std::vector<std::string> pieces = packer_.Take(*file_);
      if (pieces.empty()) break;
      lock.unlock();
      for (std::string& piece : pieces) writer.Write(String::Adopt(std::move(piece), nil));
      lock.lock();
    }
  }

  FilePacker& packer_;
  std::shared_ptr<Packed> file_;
};

FilePacker::FilePacker(const AddingOptions& options, std::vector<const PlannedItem*> files)
    : ways_{options.level.value_or(kDefaultDeflateLevel), options.level.has_value()},
      files_(std::move(files)) {
  std::uint64_t bytes = 0;
  for (const PlannedItem* file : files_) bytes += file->size;
  jobs_ = ThreadCount(JobCount(options.jobs, files_.size(), bytes, kWorthAThread));
  const Lock lock(mutex_);
  try {
    while (jobs_ > 1 && running_ < jobs_) {
      threads_.emplace_back([this] { Run(); });
      ++running_;
    }
  } catch (const std::exception&) {
    // There are no more, or there is no memory for them; fewer will do.
  }
}

FilePacker::~FilePacker() {
  stopped_ = true;
  // A thread that is about to wait has the lock, or sees that it is to stop.
  Lock(mutex_).unlock();
  room_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

Ref<FileSource> FilePacker::SourceOf(const PlannedItem& item) {
  deflater_ = nullptr;
  if (!threads_.empty() && asked_ < files_.size() && files_[asked_] == &item) {
    if (const auto file = NextAhead()) {
      deflater_ = std::make_unique<Deflater>(*this, file);
      return New<Source>(*this, file);
    }
  }
  auto source = New<FileSource>(item.Source());
  if (source->Open() && ways_.may_store) deflater_ = DeflaterFor(*source);
  return source;
}

std::shared_ptr<FilePacker::Packed> FilePacker::NextAhead() {
  Lock lock(mutex_);
  if (asked_++ != 0 && !ahead_.empty()) {
    Take(*ahead_.front());
    ahead_.pop_front();
  }
  WaitUntil(lock, [this] {
    return ahead_.empty() ? running_ == 0 : ahead_.front()->opened || ahead_.front()->done;
  });
  if (IsStopped()) throw Interrupted();
  return !ahead_.empty() && ahead_.front()->opened ? ahead_.front() : nullptr;
}

std::unique_ptr<MemberDeflater> FilePacker::NewDeflater() {
  return deflater_ ? std::move(deflater_) : vantorel::NewDeflater(ways_);
}

std::unique_ptr<MemberDeflater> FilePacker::DeflaterFor(const FileSource& source) const {
  DeflateWays ways = ways_;
  if (ways.may_store && GainsNothing(source.File(), source.Size())) ways.level = 0;
  return vantorel::NewDeflater(ways);
}

void FilePacker::Run() {
  Lock lock(mutex_);
  while (next_ < files_.size() && !IsStopped()) {
    std::shared_ptr<Packed> file;
    try {
      file = ahead_.emplace_back(std::make_shared<Packed>(*this, *files_[next_]));
    } catch (const std::bad_alloc&) {
      break;  // the other threads will do, or the calling one
    }
    ++next_;
    lock.unlock();
    int error = 0;
    try {
      error = Pack(*file);
    } catch (const std::exception&) {
      error = ENOMEM;  // nothing else can be lacking here
    }
    lock.lock();
    file->error = error;
    file->done = true;
    Tell(*file);
  }
  --running_;
  changed_.notify_one();
}

int FilePacker::Pack(Packed& file) {
  FileSource source(file.item.Source());
  if (!source.Open() || source.Size() == 0) return 0;
  const auto deflater = DeflaterFor(source);
  {
    const Lock lock(mutex_);
    file.to_come = file.left = source.Size();
    file.opened = true;
    Tell(file);
  }
  while (file.left != 0 && !IsStopped()) {
    const String bytes = source.Read(kReadSize);
    if (bytes.empty()) break;
    deflater->Write(bytes.view(), file);
    const Lock lock(mutex_);
    file.left -= bytes.size();
  }
  if (file.left == 0) deflater->Finish(file);
  source.Close();
  file.grew = source.Grew();
  file.stored = deflater->Stored();
  return source.Error();
}

void FilePacker::WaitUntil(Lock& lock, const std::function<bool()>& holds) {
  // Not without end, since a signal does not end it, whichever thread it comes to.
  while (!holds() && !IsStopped()) changed_.wait_for(lock, std::chrono::milliseconds(50));
}

bool FilePacker::HasRoomFor(const Packed& file) const {
  return waiting_ < jobs_ * kRoom || (&file == ahead_.front().get() && file.waiting < kRoom);
}

void FilePacker::Tell(const Packed& file) {
  if (!ahead_.empty() && &file == ahead_.front().get()) changed_.notify_one();
}

std::vector<std::string> FilePacker::Take(Packed& file) {
  waiting_ -= std::exchange(file.waiting, 0);
  room_.notify_all();
  return std::exchange(file.pieces, {});
}

bool FilePacker::IsStopped() const {
  return stopped_ || Interruption::Requested();
}

}  // namespace vantorel::forkzip
