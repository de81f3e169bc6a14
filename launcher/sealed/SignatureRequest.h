// Fetches the signature of an update. Gives up on one that is too long or takes too long.
#pragma once

#include <functional>
#include <string>

#include "http/HTTPSocket.h"
#include "launcher/sealed/Refusal.h"
#include "platform/run/Timer.h"

namespace vantorel::sealed {

// Whether a server keeps sending headers without an end.
bool HeadersAreEndless(const HTTPSocket& socket);

class SignatureRequest : public HTTPSocket {
 public:
  SignatureRequest();
  // Exactly one of these two is called, once, from the event loop.
  std::function<void(const std::string& file)> Received;
  std::function<void(const Refusal&)> Failed;

  void Start(const String& url);

 protected:
  void Event_DataAvailable() override;
  void Event_ReceiveProgress(std::int32_t bytesReceived, std::int32_t totalBytes,
                             const String& newData) override;
  void Event_PageReceived(const String& url, std::int32_t httpStatus, const Ref<InternetHeaders>& headers,
                          const String& content) override;
  void Event_HTTPError(std::int32_t code) override;

 private:
  void Fail(const char* status, const char* detail);
  // True for the first caller.
  bool End();

  Ref<Timer> limit_ = New<Timer>();
  bool ended_ = false;
};

}  // namespace vantorel::sealed
