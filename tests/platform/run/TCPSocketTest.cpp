#include "platform/run/TCPSocket.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "platform/run/EventLoop.h"
#include "tests/support/Peer.h"

namespace vantorel::testing {
namespace {

// Writes down its events: C connected, D data, S send complete, E error; lets a test act inside each.
class RecordingSocket : public TCPSocket {
 public:
  std::string events;
  std::string received;
  bool reads = true;
  std::function<void(char event)> on_event;

  void ConnectTo(const char* host, std::int32_t port) {
    SetAddress(host);
    SetPort(port);
    Connect();
  }
  bool Saw(char event) const { return events.find(event) != std::string::npos; }
  void RunUntil(char event) {
    EventLoop::Current().RunUntil([&] { return Saw(event); });
  }

 protected:
  void Event_Connected() override { Note('C'); }
  void Event_DataAvailable() override {
    if (reads) received += ReadAll().view();
    Note('D');
  }
  void Event_SendComplete(bool) override { Note('S'); }
  void Event_Error() override { Note('E'); }

 private:
  void Note(char event) {
    if (event != 'D' || !events.ends_with('D')) events += event;
    if (const auto act = on_event) act(event);
  }
};

// A socket and the other end of its connection.
struct Connection {
  explicit Connection(bool reads = true) {
    socket->reads = reads;
    socket->ConnectTo("127.0.0.1", peer.Port());
    socket->RunUntil('C');
    peer.Accept();
  }
  Peer peer;
  Ref<RecordingSocket> socket = New<RecordingSocket>();
};

TEST(TCPSocket, FailuresArriveAsOneErrorEventAfterConnectReturned) {
  const std::int32_t closed = Peer().Port();
  const std::tuple<const char*, std::string, std::int32_t, std::int32_t> cases[] = {
      {"nobody listens", "127.0.0.1", closed, SocketCore::kConnectionRefused},
      {"port 0", "127.0.0.1", 0, SocketCore::kBadPort},
      {"port that would wrap to a good one", "127.0.0.1", 65536 + closed, SocketCore::kBadPort},
      {"no host name", "no such host", 80, SocketCore::kNameResolutionFailed},
      {"too long for a name", std::string(300, 'a'), 80, SocketCore::kNameResolutionFailed},
      {"an address that cannot be connected to", "255.255.255.255", 80, SocketCore::kOpenFailed},
  };
  for (const auto& [name, host, port, code] : cases) {
    for (const bool polled : {false, true}) {
      const auto socket = New<RecordingSocket>();
      socket->ConnectTo(host.c_str(), port);
      EXPECT_EQ(socket->events, "") << name;
      while (polled && !socket->Saw('E')) socket->Poll();
      socket->RunUntil('E');
      EventLoop::Current().RunPending(5);
      EXPECT_EQ(socket->events, "E") << name;
      EXPECT_EQ(socket->LastErrorCode(), code) << name;
      EXPECT_FALSE(socket->IsConnected()) << name;
    }
  }
}

TEST(TCPSocket, AnAddressThatStaysSilentDoesNotKeepTheNextWaitingAndIsGivenUp) {
  Peer answering;
  const Peer silent(AF_INET6, answering.Port(), 0);
  const auto fills_backlog = New<RecordingSocket>(), lonely = New<RecordingSocket>(),
             socket = New<RecordingSocket>();
  fills_backlog->ConnectTo("::1", silent.Port());
  fills_backlog->RunUntil('C');
  lonely->ConnectTo("::1", silent.Port());
  socket->ConnectTo("localhost", silent.Port());  // ::1 first, whose backlog is full
  socket->RunUntil('C');
  answering.Accept();
  answering.Send("four");
  socket->RunUntil('D');
  EXPECT_EQ(socket->received, "four");
  lonely->RunUntil('E');  // after 15 seconds; the system by itself would try for longer than a test may take
  EXPECT_EQ(lonely->LastErrorCode(), SocketCore::kOpenFailed);
}

TEST(TCPSocket, EveryByteIsDeliveredThoughSendingFindsTheConnectionReset) {
  for (const bool polled : {false, true}) {
    // It must have arrived before the reset, or the kernel may drop it: keep to the receive buffer.
    const std::string sent(50'000, 'x');
    Connection connection;
    RecordingSocket& socket = *connection.socket;
    connection.peer.Send(sent);
    connection.peer.Reset();
    for (const char* text : {"a", "b"}) socket.Write(text);
    while (polled && !socket.Saw('E')) socket.Poll();
    socket.RunUntil('E');
    EXPECT_EQ(socket.received.size(), sent.size());
    EXPECT_EQ(socket.events, "CDE");
    EXPECT_EQ(socket.LastErrorCode(), SocketCore::kLostConnection);
  }
}

TEST(TCPSocket, LargeWritesGoOnInTheBackgroundInOrder) {
  Connection connection;
  RecordingSocket& socket = *connection.socket;
  std::string big(20'000'000, '\0');
  for (std::size_t i = 0; i < big.size(); ++i) big[i] = static_cast<char>(i % 251);
  socket.Write("head");
  socket.Write(String::Bytes(big));
  socket.Write("tail");
  EXPECT_FALSE(socket.Saw('S'));
  std::string got;
  std::thread server([&] { got = connection.peer.ReadUntil(nullptr); });
  socket.RunUntil('S');
  socket.Close();
  server.join();
  EXPECT_TRUE(got == "head" + big + "tail") << got.size();
  EXPECT_EQ(socket.events, "CS");
}

TEST(TCPSocket, PurgeThrowsAwayBothBuffersAndNoWaitSpins) {
  Connection connection(false);
  RecordingSocket& socket = *connection.socket;
  connection.peer.Send("old");
  socket.RunUntil('D');
  EXPECT_EQ(socket.Read(-1).view(), "");
  EXPECT_EQ(socket.Read(1).view(), "o");
  socket.Write(String::Bytes(std::string(20'000'000, 'x')));
  socket.Purge();
  EXPECT_EQ(socket.Lookahead().view(), "");
  const auto start = EventLoop::Clock::now();
  EventLoop::Current().RunPending(100);
  for (int i = 0; i < 10; ++i) socket.Poll();
  EXPECT_GE(EventLoop::Clock::now() - start, std::chrono::milliseconds(200));
  connection.peer.Send("new");
  EventLoop::Current().RunUntil([&] { return !socket.Lookahead().empty(); });
  EXPECT_EQ(socket.Lookahead().view(), "new");
}

TEST(TCPSocket, MayBeClosedConnectedAnewOrDroppedInItsOwnEvents) {
  for (const std::string until : {"C", "CD", "CDE"}) {
    for (const std::string act : {"closed", "dropped", "connected anew"}) {
      SCOPED_TRACE(act + " in the last of " + until);
      Peer first, second;
      auto socket = New<RecordingSocket>();
      std::string events;  // the socket may be gone
      socket->on_event = [&](char now) {
        if (now != until.back() || !events.empty()) return;
        events = socket->events;
        if (act == "closed") socket->Close();
        if (act == "dropped") socket = nil;
        if (act == "connected anew") socket->ConnectTo("127.0.0.1", second.Port());
      };
      socket->ConnectTo("127.0.0.1", first.Port());
      first.Accept();
      first.Send("old");
      first.Close();
      EventLoop::Current().RunUntil([&] { return !events.empty(); });
      std::string expected = until;
      if (act == "connected anew") {
        expected += "CDE";
        second.Accept();
        second.Send("new");
        second.Close();
        EventLoop::Current().RunUntil([&] { return socket->events.size() >= expected.size(); });
        EXPECT_TRUE(socket->received.ends_with("new"));
      }
      for (int i = 0; i < 5; ++i) EventLoop::Current().RunPending(2);
      EXPECT_EQ(socket != nil ? socket->events : events, expected);
    }
  }
}

}  // namespace
}  // namespace vantorel::testing
