#include "tools/forkzip/cli/Interruption.h"

#include <algorithm>
#include <csignal>
#include <initializer_list>

#include "platform/files/FileCalls.h"

namespace vantorel::forkzip {

namespace {
volatile std::sig_atomic_t noted = 0;

void Note(int signal) {
  noted = signal;
}
}  // namespace

void Interruption::Watch() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
    struct sigaction present {};
    sigaction(signal, nullptr, &present);
    if (present.sa_handler != SIG_IGN) std::signal(signal, Note);  // which restarts system calls
  }
}

bool Interruption::Requested() {
  return noted != 0;
}

void Interruption::Check() {
  if (Requested()) throw Interrupted();
}

void Interruption::Obey() {
  if (noted == 0) return;
  std::signal(noted, SIG_DFL);
  std::raise(noted);
}

void CopyBytes(int from, std::uint64_t from_position, int to, std::uint64_t to_position,
               std::uint64_t count) {
  constexpr std::uint64_t kPiece = 16U << 20U;
  for (std::uint64_t done = 0; done < count; done += kPiece) {
    vantorel::CopyBytes(from, from_position + done, to, to_position + done, std::min(count - done, kPiece));
    Interruption::Check();
  }
}

}  // namespace vantorel::forkzip
