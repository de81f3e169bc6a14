// The progress bar on standard error, and the engine's way to be stopped by a signal.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "platform/base/Ref.h"
#include "zip/archive/ZipProgressNotifier.h"

namespace vantorel::forkzip {

class Progress : public ZipProgressNotifier {
 public:
  enum class When { kNever, kOnTerminal, kAlways };

  // `total` bytes are to be done. The bar appears only after a moment, so that short work shows none.
  Progress(When when, std::uint64_t total);
  ~Progress() override;

  // The member that is worked on now.
  void Begin(const Ref<ZipEntry>& entry);
  // The same by its name, for one that is to become a member.
  void Begin(const std::string& name);
  // That member is done; `size` counts toward the total, whatever was reported of it.
  void End(std::uint64_t size);

  void EntryProgress(const Ref<ZipEntry>& entry, std::int32_t total, std::int32_t done, bool& abort) override;
  // No folders are added by the engine itself.
  void ItemFailed(const Ref<FolderItem>&, std::int32_t, const String&, bool&) override {}
  void ItemStarting(const Ref<FolderItem>&, bool&) override {}

  // `more` bytes beyond what has ended are done elsewhere by now.
  void ShowAhead(std::uint64_t more) { Show(finished_ + more); }
  // Counts from 0 again, and hands over how many bytes are done in place of showing it.
  void DivertTo(std::function<void(std::uint64_t done)> take);

  // Takes a bar off the screen, so that a message can stand in its place.
  static void ClearLine();

 private:
  void Show(std::uint64_t done);

  bool visible_;
  std::uint64_t total_;
  std::uint64_t finished_ = 0;
  bool all_done_ = false;
  std::function<void(std::uint64_t)> diverted_;
  std::string name_;
  std::chrono::steady_clock::time_point next_;
};

}  // namespace vantorel::forkzip
