// bench-requests URL COUNT: synchronous requests one after the other, each on a connection of its own, to be
// timed from outside. Exit code 1 at the first page that is empty or has another status than 200.
#include <cstdio>
#include <cstdlib>

#include "http/HTTPSocket.h"
#include "platform/run/Runtime.h"

namespace vantorel {
namespace {

int Run(const char* url, int count) {
  const auto socket = New<HTTPSocket>();
  for (int i = 0; i < count; ++i) {
    if (socket->Get(url, 20).empty() || socket->HTTPStatusCode() != 200) {
      std::fprintf(stderr, "bench-requests: request %d: error %d, status %d\n", i, socket->ErrorCode(),
                   socket->HTTPStatusCode());
      return 1;
    }
  }
  return 0;
}

}  // namespace
}  // namespace vantorel

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: bench-requests URL COUNT\n");
    return 2;
  }
  vantorel::RuntimeInit(argc, argv);
  return vantorel::Run(argv[1], std::atoi(argv[2]));
}
