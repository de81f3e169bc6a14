// A TCP connection on a non-blocking socket. Host names are resolved without blocking the loop; every address
// is tried in turn, of both families.
#pragma once

#include <cstdint>

#include "platform/run/SocketCore.h"
#include "platform/text/String.h"

namespace vantorel {

class TCPSocket : public SocketCore {
 public:
  TCPSocket();
  ~TCPSocket() override;

  // Host name or numeric address, used at Connect.
  void SetAddress(const String& address);

  void Connect() override;
  void Close() override;
  void Poll() override;
  void Purge() override;

  // Removes and returns up to `count` bytes of the receive buffer.
  String Read(std::int32_t count, const Ref<TextEncoding>& encoding = nil);
  // Removes and returns the whole receive buffer, possibly nothing.
  String ReadAll(const Ref<TextEncoding>& encoding = nil);
  // The receive buffer, without removing anything and without a copy.
  String Lookahead(const Ref<TextEncoding>& encoding = nil) const;
  // Queues the bytes for sending and returns at once.
  void Write(const String& text);
};

}  // namespace vantorel
