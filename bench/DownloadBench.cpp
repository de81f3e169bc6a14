// bench-download URL FILE: an asynchronous download into a file by the event loop, to be timed from outside.
// Exit code 1 if it fails or the page has another status than 200.
#include <cstdio>

#include "http/HTTPSocket.h"
#include "platform/run/EventLoop.h"
#include "platform/run/Runtime.h"

namespace vantorel {
namespace {

class Download : public HTTPSocket {
 public:
  bool done = false;
  bool failed = true;

 protected:
  void Event_DownloadComplete(const String& /*url*/, std::int32_t status,
                              const Ref<InternetHeaders>& /*headers*/,
                              const Ref<FolderItem>& /*file*/) override {
    done = true;
    failed = status != 200;
  }
  void Event_HTTPError(std::int32_t code) override {
    std::fprintf(stderr, "bench-download: error %d\n", code);
    done = true;
  }
};

int Run(const char* url, const char* path) {
  const auto download = New<Download>();
  download->Get(url, GetFolderItem(path));
  EventLoop::Current().RunUntil([&] { return download->done; });
  return download->failed ? 1 : 0;
}

}  // namespace
}  // namespace vantorel

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: bench-download URL FILE\n");
    return 2;
  }
  vantorel::RuntimeInit(argc, argv);
  return vantorel::Run(argv[1], argv[2]);
}
