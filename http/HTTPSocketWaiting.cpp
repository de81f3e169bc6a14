// The synchronous calls' wait.
#include "http/HTTPSocket.h"
#include "platform/run/Application.h"
#include "platform/run/BackgroundTask.h"
#include "platform/run/Runtime.h"
#include "platform/run/Ticks.h"
#include "platform/text/TextFunctions.h"

namespace vantorel {

void HTTPSocket::ConnectAndWait(const String& url, const String& action, const Ref<FolderItem>& file,
                                std::int32_t timeout) {
  timeoutSeconds = timeout;
  synchronous = true;
  _DoConnect(url, action, file);
  WaitForPage();
}

void HTTPSocket::WaitForPage() {
  const Ref<Application> application = _GetAppObject();
  _pageComplete = false;
  // This forgets an unusable download file too: the wait then ends by its time limit.
  mErrorCode = 0;
  const auto next_limit = [this] { return std::int64_t{Ticks()} + std::int64_t{timeoutSeconds} * 60; };
  bool last_connected = false;
  std::int32_t last_length = 0;
  std::int64_t limit = next_limit();
  while (!_pageComplete && mErrorCode == 0) {
    Poll();
    if (Yield) application->DoEvents(-1);
    if (_connectionValid != last_connected) {
      last_connected = _connectionValid;
      limit = next_limit();
    } else if (Len(_pageBuffer) != last_length) {
      last_length = Len(_pageBuffer);
      limit = next_limit();
    }
    if (timeoutSeconds > 0 && limit < Ticks()) {
      Close();
      SetError(kTimedOut);
      break;
    }
    RuntimeBackgroundTask();
  }
}

}  // namespace vantorel
