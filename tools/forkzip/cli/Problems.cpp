#include "tools/forkzip/cli/Problems.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <new>
#include <system_error>

#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/cli/Progress.h"

namespace vantorel::forkzip {

namespace {

// So often the same problem of members is told in full.
constexpr std::size_t kTold = 1000;

// A text of any length as it fits a line: the middle of a long one is left out.
std::string Shortened(std::string_view text, std::size_t most) {
  if (text.size() <= most) return std::string(text);
  const auto is_inside = [&](std::size_t at) {
    return (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80;
  };
  std::size_t front = most / 2;
  std::size_t back = text.size() - most / 2;
  while (front > 0 && is_inside(front)) --front;
  while (back < text.size() && is_inside(back)) ++back;
  return std::string(text.substr(0, front)) + "..." + std::string(text.substr(back));
}

}  // namespace

void Problems::Add(ExitCode code, std::string_view message) {
  code_ = std::max(code_, code);
  Note(message);
}

void Problems::Add(ExitCode code, std::string_view member, std::string_view message) {
  constexpr std::size_t kLongestName = 200;
  constexpr std::size_t kLongestMessage = 400;
  constexpr std::size_t kKind = 32;
  constexpr std::size_t kMostKinds = 100;
  code_ = std::max(code_, code);
  std::string kind(message.substr(0, kKind));
  if (told_.size() >= kMostKinds && !told_.contains(kind)) kind.clear();
  if (++told_[kind] > kTold) return;
  Note(Shortened(member, kLongestName) + ": " + Shortened(message, kLongestMessage));
}

void Problems::AddUp() {
  for (const auto& [kind, count] : told_) {
    if (count > kTold) Note(Count(count - kTold, "more member") + " not named here: " + kind + "...");
  }
}

void Problems::Note(std::string_view message) const {
  constexpr std::size_t kLongest = 1000;
  Progress::ClearLine();
  const std::string line =
      MessagePrefix() + Printable(archive_) + ": " + Printable(Shortened(message, kLongest)) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

Failure FailureInFlight() {
  try {
    throw;
  } catch (const Interrupted&) {
    throw;
  } catch (const Failure& failure) {
    return failure;
  } catch (const std::bad_alloc&) {
    return {ExitCode::kFileError, "not enough memory"};
  } catch (const std::system_error& refusal) {
    return {ExitCode::kFileError, refusal.what()};
  } catch (const std::exception& fault) {  // FormatError above all
    return {ExitCode::kBadArchive, fault.what()};
  }
}

std::string MessagePrefix() {
  return (ShowsColors(STDERR_FILENO) ? Colored("forkzip:", Color::kError) : "forkzip:") + " ";
}

std::string WithCause(std::string_view what, int error) {
  return std::string(what) + ": " + std::generic_category().message(error);
}

Failure SystemFailure(std::string_view what, int error) {
  return {ExitCode::kFileError, WithCause(what, error)};
}

}  // namespace vantorel::forkzip
