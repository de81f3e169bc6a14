// What is common to sockets: connection, polling, port, error state. A connected or connecting socket hangs
// on the event loop by itself.
#pragma once

#include <cstdint>

#include "platform/base/Ref.h"

namespace vantorel {

class SocketCore : public Object {
 public:
  // Codes of LastErrorCode. They name what failed; the system's errno is not passed on.
  enum ErrorCode : std::int32_t {
    kNoError = 0,
    kOpenFailed = 100,
    kLostConnection = 102,
    kNameResolutionFailed = 103,
    kBadPort = 107,
    kConnectionRefused = 109,
  };

  std::int32_t Port() const { return port_; }
  void SetPort(std::int32_t port) { port_ = port; }
  bool IsConnected() const { return connected_; }
  std::int32_t LastErrorCode() const { return last_error_code_; }

  // Drops the connection if any, without an event.
  virtual void Close() = 0;
  // Delivers what has happened as events on the caller's stack; if nothing has, waits in the kernel for a few
  // milliseconds.
  virtual void Poll() = 0;
  // Throws away buffered data in both directions.
  virtual void Purge() = 0;
  // Starts connecting and returns at once; success and failure arrive as events.
  virtual void Connect() = 0;

 protected:
  // Events. DataAvailable comes for every byte received before the Error that ends the connection; the
  // receive buffer stays readable in Error.
  virtual void Event_Connected() {}
  virtual void Event_DataAvailable() {}
  virtual void Event_SendComplete(bool /*userAborted*/) {}
  virtual void Event_Error() {}

  std::int32_t port_ = 0;
  bool connected_ = false;
  std::int32_t last_error_code_ = kNoError;
};

}  // namespace vantorel
