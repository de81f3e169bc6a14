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
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tools/forkzip/add/FilePacker.h"

namespace vantorel::forkzip {

class PackAhead : public FilePacker {
 public:
  // With as many threads, the calling one among them, as JobCount gives.
  PackAhead(const DeflateWays& ways, std::size_t jobs_asked) : FilePacker(ways), jobs_asked_(jobs_asked) {}
  ~PackAhead() override;

  void Expect(const std::vector<const PlannedItem*>& files) override;
  Ref<FileSource> SourceOf(const PlannedItem& item) override;
  std::unique_ptr<MemberDeflater> NewDeflater() override;

 private:
  // A file that one of the threads has taken up.
  struct Packed {
    const PlannedItem& item;
    std::uint64_t left;                 // bytes of it that are not read yet
    std::uint64_t room;                 // counts in taken_
    std::vector<std::string> pieces{};  // of the gzip member, to be written
    std::uint64_t waiting = 0;          // bytes in them
    int error = 0;                      // of the system
    std::exception_ptr fault{};         // what else went wrong
    bool stored = false;
    bool done = false;
    std::uint64_t wanted = 0;  // how far the engine has asked for it; only the calling thread looks
  };
  class Pieces;
  class Source;
  class Deflater;
  using Lock = std::unique_lock<std::mutex>;

  void Run();
  // Takes up the next file if what is under way leaves room for it; none of more than `largest` bytes.
  std::shared_ptr<Packed> Take(std::uint64_t largest);
  void Pack(Packed& file);
  void ReadAndDeflate(Packed& file);
  // Writes what there is of the file until at most `left` bytes of it are to be read, and, at its `end`,
  // until it is done. Packs others meanwhile.
  void Drain(Packed& file, std::uint64_t left, bool end, IStreamWriter& writer);
  void Tell(const Packed& file);
  bool IsStopped() const;

  std::size_t jobs_asked_;
  std::size_t jobs_ = 1;
  std::vector<const PlannedItem*> files_;
  bool is_next_ = false;                       // the next deflater is for current_
  std::size_t asked_ = 0;                      // how many of them the engine has asked for
  std::mutex mutex_;                           // guards what follows, and what is in Packed
  std::size_t next_ = 0;                       // the first that nobody has taken up
  std::deque<std::shared_ptr<Packed>> ahead_;  // those from asked_ to next_
  std::shared_ptr<Packed> current_;            // the one that is being written
  std::uint64_t taken_ = 0;                    // bytes that may wait to be written
  std::condition_variable changed_;            // something came of current_
  std::condition_variable room_;               // something was written
  std::atomic<bool> stopped_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace vantorel::forkzip
