// How the data of files get into an archive: read and deflated by several threads, ahead of the one that
// writes. They work on bytes alone: the engine, and all that counts references, stays with the thread that
// made this. The archive's bytes, and what is told of files that cannot be read, are the same for any number
// of threads.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/base/Ref.h"
#include "platform/compress/MemberDeflater.h"
#include "tools/forkzip/add/AddPlan.h"
#include "tools/forkzip/add/FileSource.h"

namespace vantorel::forkzip {

class FilePacker {
 public:
  // With as many threads, beside the calling one, as JobCount gives; none where that is one. SourceOf will be
  // asked for all of `files`, in this order, and may be for others in between.
  FilePacker(const AddingOptions& options, std::vector<const PlannedItem*> files);
  FilePacker(const FilePacker&) = delete;
  FilePacker& operator=(const FilePacker&) = delete;
  ~FilePacker();

  // The data of a file, opened, or with the error that opening gave. The next deflater is for them. Raises
  // Interrupted.
  Ref<FileSource> SourceOf(const PlannedItem& item);
  std::unique_ptr<MemberDeflater> NewDeflater();

 private:
  class Packed;
  class Source;
  class Deflater;
  using Lock = std::unique_lock<std::mutex>;

  std::unique_ptr<MemberDeflater> DeflaterFor(const FileSource& source) const;
  // The next one of the files, opened by a thread; nil if it is left to the calling one.
  std::shared_ptr<Packed> NextAhead();
  void Run();
  // Returns the system's error. What cannot be opened is left to the calling thread.
  int Pack(Packed& file);
  // For the calling thread: until that holds, or a signal ends the run.
  void WaitUntil(Lock& lock, const std::function<bool()>& holds);
  bool HasRoomFor(const Packed& file) const;
  // Something came of the file.
  void Tell(const Packed& file);
  std::vector<std::string> Take(Packed& file);
  bool IsStopped() const;

  DeflateWays ways_;
  std::vector<const PlannedItem*> files_;
  std::size_t jobs_ = 1;
  std::unique_ptr<MemberDeflater> deflater_;   // the next one, if not the usual
  std::size_t asked_ = 0;                      // how many of the files the engine has asked for
  std::mutex mutex_;                           // guards what follows, and what is in Packed
  std::size_t running_ = 0;                    // threads that may still take up a file
  std::size_t next_ = 0;                       // the first that nobody has taken up
  std::deque<std::shared_ptr<Packed>> ahead_;  // those up to next_; the first is written, or is to be
  std::uint64_t waiting_ = 0;                  // bytes to be written
  std::condition_variable changed_;            // something came of the first
  std::condition_variable room_;               // something was written
  std::atomic<bool> stopped_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace vantorel::forkzip
