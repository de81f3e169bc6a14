#include "tools/forkzip/cli/Progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/cli/Printable.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel::forkzip {

namespace {

constexpr auto kFirstAfter = std::chrono::milliseconds(300);
constexpr auto kBetween = std::chrono::milliseconds(100);

bool bar_is_shown = false;

std::size_t TerminalWidth() {
  winsize size{};
  const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 20;
  return known ? size.ws_col : 80;
}

// The end of a name says more than its beginning. Cuts between characters.
std::string LastPart(const std::string& text, std::size_t width) {
  if (text.size() <= width) return text;
  std::size_t begin = text.size() - width;
  while (begin < text.size() && (static_cast<unsigned char>(text[begin]) & 0xC0U) == 0x80) ++begin;
  return text.substr(begin);
}

}  // namespace

Progress::Progress(When when, std::uint64_t total)
    : visible_(when == When::kAlways || (when == When::kOnTerminal && isatty(STDERR_FILENO) == 1)),
      total_(total),
      next_(std::chrono::steady_clock::now() + (when == When::kAlways ? kBetween * 0 : kFirstAfter)) {}

Progress::~Progress() {
  ClearLine();
}

void Progress::Begin(const Ref<ZipEntry>& entry) {
  if (visible_) Begin(Utf8(entry->RawPath()));
}

void Progress::Begin(const std::string& name) {
  if (!visible_) return;
  name_ = name;
  Show(finished_);
}

void Progress::End(std::uint64_t size) {
  finished_ += size;
  const bool all_done = finished_ >= total_ && !std::exchange(all_done_, true);
  if (all_done && bar_is_shown) next_ = {};
  Show(finished_);
}

void Progress::EntryProgress(const Ref<ZipEntry>& /*entry*/, std::int32_t /*total*/, std::int32_t done,
                             bool& abort) {
  if (Interruption::Requested()) abort = true;
  Show(finished_ + static_cast<std::uint64_t>(std::max(done, 0)));
}

void Progress::DivertTo(std::function<void(std::uint64_t)> take) {
  finished_ = 0;
  diverted_ = std::move(take);
}

void Progress::Show(std::uint64_t done) {
  if (diverted_) return diverted_(done);
  if (!visible_) return;
  const auto now = std::chrono::steady_clock::now();
  if (now < next_) return;
  next_ = now + kBetween;
  const std::uint64_t percent = total_ == 0 ? 100 : std::min<std::uint64_t>(done * 100 / total_, 100);
  constexpr std::size_t kCells = 20;
  const std::size_t filled = static_cast<std::size_t>(percent) * kCells / 100;
  std::string line = "\r[" + std::string(filled, '#') + std::string(kCells - filled, ' ') + "] ";
  line += std::to_string(percent) + "% of " + HumanSize(total_) + "  ";
  const std::size_t width = TerminalWidth();
  if (line.size() < width) line += LastPart(Printable(name_), width - line.size());
  line += "\x1B[K";
  std::fwrite(line.data(), 1, line.size(), stderr);
  bar_is_shown = true;
}

void Progress::ClearLine() {
  if (std::exchange(bar_is_shown, false)) std::fputs("\r\x1B[K", stderr);
}

}  // namespace vantorel::forkzip
