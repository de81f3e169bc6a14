// Files read and deflated by several threads, ahead of the one that writes the archive. They work on bytes
// alone: the engine, and all that counts references, stays with the thread that made this. The archive's
// bytes, and what is told of files that cannot be read, are the same for any number of threads.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tools/forkzip/add/FilePacker.h"

namespace vantorel::forkzip {

class PackAhead : public FilePacker {
 public:
  // With as many threads, beside the calling one, as JobCount gives; none where that is one.
  PackAhead(const DeflateWays& ways, std::size_t jobs_asked) : FilePacker(ways), jobs_(jobs_asked) {}
  ~PackAhead() override;

  void Expect(const std::vector<const PlannedItem*>& files) override;
  Ref<FileSource> SourceOf(const PlannedItem& item) override;
  std::unique_ptr<MemberDeflater> NewDeflater() override;

 private:
  // A file that one of the threads has taken up.
  struct Packed {
    const PlannedItem& item;
    std::uint64_t left;     // bytes of it that are not read yet
    std::uint64_t room;     // counts in taken_
    std::uint64_t to_come;  // bytes that the engine has not asked for; only the calling thread looks
    std::vector<std::string> pieces{};  // of the gzip member, to be written
    std::uint64_t waiting = 0;          // bytes in them
    int error = 0;                      // of the system
    std::exception_ptr fault{};         // what else went wrong
    bool stored = false;
    bool done = false;

    // A large file is written while it is deflated, a small one when that is done.
    bool IsLarge() const;
  };
  class Pieces;
  class Source;
  class Deflater;
  using Lock = std::unique_lock<std::mutex>;

  void Run();
  void Pack(Packed& file);
  // For the calling thread: until that holds, or a signal ends the run.
  void WaitUntil(Lock& lock, const std::function<bool()>& holds);
  void SetRoom(Packed& file, std::uint64_t room);
  void Tell(const Packed& file);
  bool IsStopped() const;

  std::size_t jobs_;
  std::vector<const PlannedItem*> files_;
  bool is_next_ = false;                       // the next deflater is for the first of ahead_
  std::size_t asked_ = 0;                      // how many of them the engine has asked for
  std::mutex mutex_;                           // guards what follows, and what is in Packed
  std::size_t next_ = 0;                       // the first that nobody has taken up
  std::deque<std::shared_ptr<Packed>> ahead_;  // those up to next_; the first is written, or is to be
  std::uint64_t taken_ = 0;                    // bytes that may wait to be written
  std::condition_variable changed_;            // something came of the first
  std::condition_variable room_;               // something was written
  std::atomic<bool> stopped_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace vantorel::forkzip
