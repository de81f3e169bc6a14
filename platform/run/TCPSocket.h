// A TCP connection on a non-blocking socket. Host names are resolved without blocking the loop; every address
// is tried in turn, of both families.
//
// Held by a Ref, as all objects; one that nobody holds closes its connection. Its event handlers may close
// it, connect it anew or drop the last reference. Nothing of an earlier connection arrives after Close or
// Connect.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>

#include "platform/run/Connector.h"
#include "platform/run/SocketCore.h"
#include "platform/text/String.h"

namespace vantorel {

class TCPSocket : public SocketCore {
 public:
  ~TCPSocket() override;

  // Host name or numeric address (IPv6 without brackets), used at Connect.
  void SetAddress(const String& address) { address_ = address; }

  void Close() override;
  void Poll() override;
  void Purge() override;
  // An empty address, one that is not found and a port outside 1..65535 are failures like any other.
  void Connect() override;

  // The receive buffer holds what has arrived and was not read yet, without a limit: a reader that waits for
  // the end of something needs all of it. It is emptied by Connect, not by Close.

  // Removes and returns up to `count` bytes of the receive buffer.
  virtual String Read(std::int32_t count, const Ref<TextEncoding>& encoding = nil);
  // Removes and returns the whole receive buffer, possibly nothing.
  virtual String ReadAll(const Ref<TextEncoding>& encoding = nil);
  // The receive buffer, without removing anything and without a copy.
  virtual String Lookahead(const Ref<TextEncoding>& encoding = nil) const;

  // Queues the bytes for sending and returns at once; SendComplete tells when all are handed to the kernel.
  // Does nothing unless connected.
  virtual void Write(const String& text);

 protected:
  // Appends to the receive buffer and raises DataAvailable. For this class, and for those that stand in for
  // the network.
  void Arrive(String bytes);
  // How many bytes have left the receive buffer since this object was made.
  std::uint64_t BytesTaken() const { return bytes_taken_; }

 private:
  // Both deliver what has happened as events.
  void AdvanceConnecting();
  void AdvanceConnected();
  void Advance();

  // Removes and returns up to `count` bytes of the receive buffer.
  String Take(std::size_t count);
  void DropConnection();
  void ReportEnd(ErrorCode code);
  // Hands the kernel as much as it takes.
  void SendQueued();
  void AbandonSending();
  // Delivers what has arrived, or the end of the connection.
  void Receive();

  String address_;
  // Told apart from later ones in handlers: grows with every Connect and Close.
  std::uint32_t connection_number_ = 0;
  std::unique_ptr<Connector> connector_;  // while connecting
  Descriptor descriptor_;                 // while connected
  std::unique_ptr<DescriptorWatch> watch_;
  String received_;
  std::uint64_t bytes_taken_ = 0;
  std::deque<String> to_send_;
  std::size_t sent_of_first_ = 0;
  bool send_complete_due_ = false;
};

}  // namespace vantorel
