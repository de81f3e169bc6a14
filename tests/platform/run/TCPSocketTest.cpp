#include "platform/run/TCPSocket.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "platform/run/Descriptor.h"
#include "platform/run/EventLoop.h"

namespace vantorel {
namespace {

// A listener on the loopback address of one family; port 0 stands for one that the system gives it.
class Listener {
 public:
  explicit Listener(int family = AF_INET, std::int32_t port = 0, int backlog = 8)
      : descriptor_(socket(family, SOCK_STREAM, 0)) {
    sockaddr_in6 six{};
    six.sin6_family = AF_INET6;
    six.sin6_port = htons(static_cast<std::uint16_t>(port));
    six.sin6_addr = in6addr_loopback;
    sockaddr_in four{};
    four.sin_family = AF_INET;
    four.sin_port = six.sin6_port;
    four.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* name = family == AF_INET6 ? reinterpret_cast<sockaddr*>(&six) : reinterpret_cast<sockaddr*>(&four);
    socklen_t length = family == AF_INET6 ? sizeof six : sizeof four;
    if (bind(descriptor_.Number(), name, length) != 0 || listen(descriptor_.Number(), backlog) != 0) {
      throw std::runtime_error("listener");
    }
    getsockname(descriptor_.Number(), name, &length);
    port_ = ntohs(family == AF_INET6 ? six.sin6_port : four.sin_port);
  }
  std::int32_t Port() const { return port_; }
  Descriptor Accept() const { return Descriptor(accept(descriptor_.Number(), nullptr, nullptr)); }
  void StopListening() { descriptor_.Close(); }

 private:
  Descriptor descriptor_;
  std::int32_t port_ = 0;
};

void SendAll(const Descriptor& peer, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = send(peer.Number(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    ASSERT_GT(count, 0);
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

std::string ReceiveAll(const Descriptor& peer) {
  std::string all, chunk(65536, '\0');
  for (ssize_t count; (count = recv(peer.Number(), chunk.data(), chunk.size(), 0)) > 0;) {
    all.append(chunk, 0, static_cast<std::size_t>(count));
  }
  return all;
}

void Reset(Descriptor& peer) {
  const linger abort{1, 0};
  setsockopt(peer.Number(), SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
  peer.Close();
}

// Writes down its events: C connected, D data, S send complete, E error; lets a test act inside each.
class RecordingSocket : public TCPSocket {
 public:
  std::string events;
  std::string received;
  bool reads = true;
  std::function<void()> on_connected, on_data, on_error;

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
  void Event_Connected() override { Note('C', on_connected); }
  void Event_DataAvailable() override {
    if (reads) received += ReadAll().view();
    Note('D', on_data);
  }
  void Event_SendComplete(bool) override { Note('S', {}); }
  void Event_Error() override { Note('E', on_error); }

 private:
  void Note(char event, const std::function<void()>& act) {
    if (events.empty() || events.back() != event || event != 'D') events += event;
    if (act) act();
  }
};

double ProcessorSeconds() {
  rusage usage;
  getrusage(RUSAGE_THREAD, &usage);
  const auto seconds = [](timeval t) {
    return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

TEST(TCPSocket, FailuresArriveAsOneErrorEventAfterConnectReturned) {
  Listener closed;
  closed.StopListening();
  struct Case {
    const char* name;
    std::string host;
    std::int32_t port;
    std::int32_t code;
  };
  const Case cases[] = {
      {"nobody listens", "127.0.0.1", closed.Port(), SocketCore::kConnectionRefused},
      {"nobody listens, by name", "localhost", closed.Port(), SocketCore::kConnectionRefused},
      {"port 0", "127.0.0.1", 0, SocketCore::kBadPort},
      {"port below 0", "127.0.0.1", -1, SocketCore::kBadPort},
      {"port too large", "127.0.0.1", 65536, SocketCore::kBadPort},
      {"port that would wrap to a good one", "127.0.0.1", 65536 + closed.Port(), SocketCore::kBadPort},
      {"no address", "", 80, SocketCore::kNameResolutionFailed},
      {"no host name", "no such host", 80, SocketCore::kNameResolutionFailed},
      {"too long for a name", std::string(300, 'a'), 80, SocketCore::kNameResolutionFailed},
      {"an address that cannot be connected to", "255.255.255.255", 80, SocketCore::kOpenFailed},
  };
  for (const Case& one : cases) {
    for (const bool polled : {false, true}) {
      const auto socket = New<RecordingSocket>();
      socket->ConnectTo(one.host.c_str(), one.port);
      EXPECT_EQ(socket->events, "") << one.name;
      while (polled && !socket->Saw('E')) socket->Poll();
      socket->RunUntil('E');
      EventLoop::Current().RunPending(5);
      EXPECT_EQ(socket->events, "E") << one.name;
      EXPECT_EQ(socket->LastErrorCode(), one.code) << one.name;
      EXPECT_FALSE(socket->IsConnected()) << one.name;
    }
  }
}

TEST(TCPSocket, TriesEveryAddressOfAName) {
  for (const int family : {AF_INET, AF_INET6}) {  // the other family refuses
    const Listener listener(family);
    const auto socket = New<RecordingSocket>();
    socket->ConnectTo("localhost", listener.Port());
    socket->RunUntil('C');
    EXPECT_EQ(socket->events, "C");
  }
}

TEST(TCPSocket, AnAddressThatStaysSilentDoesNotKeepTheNextWaiting) {
  const Listener answering;
  const Listener silent(AF_INET6, answering.Port(), 0);
  const auto fills_backlog = New<RecordingSocket>(), socket = New<RecordingSocket>();
  fills_backlog->ConnectTo("::1", silent.Port());
  fills_backlog->RunUntil('C');
  socket->ConnectTo("localhost", silent.Port());  // ::1 first, whose backlog is full
  socket->RunUntil('C');
  const Descriptor peer = answering.Accept();
  SendAll(peer, "four");
  socket->RunUntil('D');
  EXPECT_EQ(socket->received, "four");
}

// In a process of its own, with a hosts file of its own where the system allows that.
TEST(TCPSocket, FindsAllAddressesOfANameInTheHostsFile) {
  const Listener listener;
  const pid_t child = fork();
  if (child == 0) {
    char hosts[] = "/tmp/vantorel-hosts-XXXXXX";
    const Descriptor file(mkstemp(hosts));
    dprintf(file.Number(), "::1 two.test\n127.0.0.1 two.test\n");
    const bool done = (unshare(CLONE_NEWNS) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0) &&
                      mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                      mount(hosts, "/etc/hosts", nullptr, MS_BIND, nullptr) == 0;
    unlink(hosts);
    if (!done) _exit(2);
    const auto socket = New<RecordingSocket>();
    socket->ConnectTo("two.test", listener.Port());
    EventLoop::Current().RunUntil([&] { return !socket->events.empty(); });
    _exit(socket->events == "C" ? 0 : 1);
  }
  int status;
  waitpid(child, &status, 0);
  ASSERT_NE(WEXITSTATUS(status), 2) << "the system grants no mount namespace, which this test needs";
  EXPECT_EQ(status, 0);
}

TEST(TCPSocket, EveryByteIsDeliveredBeforeTheEndHoweverItComes) {
  const std::string text(3'000'000, 'x');
  for (const bool reset : {false, true}) {
    for (const bool polled : {false, true}) {
      const Listener listener;
      const auto socket = New<RecordingSocket>();
      socket->ConnectTo("127.0.0.1", listener.Port());
      Descriptor peer = listener.Accept();
      // What is sent before a reset must have arrived, or the kernel may drop it: keep to the receive buffer.
      const std::string_view sent = std::string_view(text).substr(0, reset ? 50'000 : text.size());
      std::thread server([&] {
        SendAll(peer, sent);
        if (reset) {
          Reset(peer);
        } else {
          peer.Close();
        }
      });
      if (reset) server.join();
      while (polled && !socket->Saw('E')) socket->Poll();
      socket->RunUntil('E');
      if (!reset) server.join();
      EXPECT_EQ(socket->received.size(), sent.size());
      EXPECT_EQ(socket->events, "CDE");
      EXPECT_EQ(socket->LastErrorCode(), SocketCore::kLostConnection);
    }
  }
}

TEST(TCPSocket, AResetFoundByWritingDoesNotHideWhatWasReceived) {
  const Listener listener;
  const auto socket = New<RecordingSocket>();
  socket->ConnectTo("127.0.0.1", listener.Port());
  socket->RunUntil('C');
  Descriptor peer = listener.Accept();
  SendAll(peer, "answer");
  Reset(peer);
  socket->Write("a");
  socket->Write("b");
  socket->RunUntil('E');
  EXPECT_EQ(socket->received, "answer");
}

TEST(TCPSocket, TheReceiveBufferIsReadInPartsAndStaysInError) {
  const Listener listener;
  const auto socket = New<RecordingSocket>();
  socket->reads = false;
  socket->ConnectTo("127.0.0.1", listener.Port());
  const Descriptor peer = listener.Accept();
  SendAll(peer, "abc");
  socket->RunUntil('D');
  SendAll(peer, "defgh");
  shutdown(peer.Number(), SHUT_WR);
  socket->on_error = [&] { EXPECT_EQ(socket->Lookahead().view(), "abcdefgh"); };
  socket->RunUntil('E');
  EXPECT_EQ(socket->Read(3).view(), "abc");
  EXPECT_EQ(socket->Read(-1).view(), "");
  EXPECT_EQ(socket->ReadAll().view(), "defgh");
  EXPECT_EQ(socket->ReadAll().view(), "");
}

TEST(TCPSocket, LargeWritesGoOnInTheBackgroundInOrder) {
  const Listener listener;
  const auto socket = New<RecordingSocket>();
  socket->ConnectTo("127.0.0.1", listener.Port());
  socket->RunUntil('C');
  Descriptor peer = listener.Accept();
  std::string big(20'000'000, '\0');
  for (std::size_t i = 0; i < big.size(); ++i) big[i] = static_cast<char>(i % 251);
  socket->Write("head");
  socket->Write(String::Bytes(big));
  socket->Write("tail");
  EXPECT_FALSE(socket->Saw('S'));
  std::string got;
  std::thread server([&] { got = ReceiveAll(peer); });
  socket->RunUntil('S');
  socket->Close();
  server.join();
  EXPECT_TRUE(got == "head" + big + "tail") << got.size();
  EXPECT_EQ(socket->events, "CS");
}

TEST(TCPSocket, PurgeThrowsAwayBothBuffersAndDoesNotSpin) {
  const Listener listener;
  const auto socket = New<RecordingSocket>();
  socket->reads = false;
  socket->ConnectTo("127.0.0.1", listener.Port());
  const Descriptor peer = listener.Accept();
  SendAll(peer, "old");
  socket->RunUntil('D');
  socket->Write(String::Bytes(std::string(20'000'000, 'x')));
  socket->Purge();
  EXPECT_EQ(socket->Lookahead().view(), "");
  const double before = ProcessorSeconds();
  EventLoop::Current().RunPending(300);
  EXPECT_LT(ProcessorSeconds() - before, 0.1);
  SendAll(peer, "new");
  EventLoop::Current().RunUntil([&] { return !socket->Lookahead().empty(); });
  EXPECT_EQ(socket->Lookahead().view(), "new");
}

TEST(TCPSocket, MayBeClosedConnectedAnewOrDroppedInItsOwnEvents) {
  using Act = std::function<void(Ref<RecordingSocket>&, std::int32_t other_port)>;
  struct Case {
    const char* name;
    Act act;
    std::string events;
  };
  const Act close = [](auto& socket, auto) { socket->Close(); };
  const Act drop = [](auto& socket, auto) { socket = nil; };
  const Act again = [](auto& socket, auto port) {
    socket->on_connected = socket->on_data = socket->on_error = {};
    socket->ConnectTo("127.0.0.1", port);
  };
  for (const char event : {'C', 'D', 'E'}) {
    const std::string upto = std::string("CDE").substr(0, std::string("CDE").find(event) + 1);
    const Case cases[] = {
        {"closed", close, upto},
        {"dropped", drop, upto},
        {"connected anew", again, upto + "CDE"},
    };
    for (const Case& one : cases) {
      const Listener first, second;
      auto socket = New<RecordingSocket>();
      std::string events;  // the socket may be gone
      bool acted = false;
      const auto act = [&] {
        events = socket->events;
        acted = true;
        const auto running = one.act;
        running(socket, second.Port());
      };
      (event == 'C' ? socket->on_connected : event == 'D' ? socket->on_data : socket->on_error) = act;
      socket->ConnectTo("127.0.0.1", first.Port());
      SendAll(first.Accept(), "old");
      EventLoop::Current().RunUntil([&] { return acted; });
      if (one.events.size() > upto.size()) {
        SendAll(second.Accept(), "new");
        EventLoop::Current().RunUntil([&] { return socket->events.size() >= one.events.size(); });
        EXPECT_EQ(socket->received.substr(socket->received.size() - 3), "new") << one.name << " in " << event;
      }
      for (int i = 0; i < 5; ++i) EventLoop::Current().RunPending(2);
      if (socket != nil) events = socket->events;
      EXPECT_EQ(events, one.events) << one.name << " in " << event;
    }
  }
}

TEST(TCPSocket, PollWaitsInTheKernel) {
  const Listener listener;
  const auto idle = New<RecordingSocket>(), connected = New<RecordingSocket>();
  connected->ConnectTo("127.0.0.1", listener.Port());
  connected->RunUntil('C');
  for (const auto& socket : {idle, connected}) {
    const auto end = EventLoop::Clock::now() + std::chrono::milliseconds(500);
    const double before = ProcessorSeconds();
    while (EventLoop::Clock::now() < end) socket->Poll();
    EXPECT_LT(ProcessorSeconds() - before, 0.1);
  }
}

}  // namespace
}  // namespace vantorel
