#include "tools/forkzip/cli/Interruption.h"

#include <csignal>
#include <initializer_list>

namespace vantorel::forkzip::Interruption {

namespace {
volatile std::sig_atomic_t noted = 0;

void Note(int signal) {
  noted = signal;
}
}  // namespace

void Watch() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
    struct sigaction present {};
    sigaction(signal, nullptr, &present);
    if (present.sa_handler == SIG_IGN) continue;
    struct sigaction action {};
    action.sa_handler = Note;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
  }
}

bool Requested() {
  return noted != 0;
}

void Check() {
  if (Requested()) throw Interrupted();
}

void Obey() {
  if (noted == 0) return;
  std::signal(noted, SIG_DFL);
  std::raise(noted);
}

}  // namespace vantorel::forkzip::Interruption
