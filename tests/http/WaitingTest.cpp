// The synchronous calls and their silence limit.
#include <gtest/gtest.h>
#include <time.h>

#include <chrono>
#include <string>
#include <thread>

#include "platform/run/Ticks.h"
#include "tests/http/Peer.h"
#include "tests/http/RecordingSocket.h"
#include "tests/support/ScratchFolder.h"

namespace vantorel {
namespace {

using testing::Peer;
using testing::RecordingSocket;
using testing::ScratchFolder;

// A page that comes in pieces: together they take longer than a limit of a second, each alone does not.
void ServeSlowly(Peer& peer) {
  peer.Accept();
  peer.ReadRequest();
  peer.Send("HTTP/1.0 200 OK\r\n\r\n");
  for (int i = 0; i < 6; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    peer.Send("piece ");
  }
  peer.Finish();
  peer.ReadToEnd();
}

TEST(HTTPSocketWaiting, TheLimitIsOneOfSilence) {
  Peer peer;
  const String url = String::Bytes(peer.Url());
  const ScratchFolder folder;
  const auto socket = New<RecordingSocket>();
  std::thread server([&] { ServeSlowly(peer); });
  EXPECT_EQ(socket->Get(url, 2).size(), 36U);
  EXPECT_EQ(socket->ErrorCode(), 0);
  server.join();
  // Bytes that go to a file are silence: here the limit counts from the connection.
  server = std::thread([&] { ServeSlowly(peer); });
  EXPECT_FALSE(socket->Get(url, folder.Item("file"), 2));
  EXPECT_EQ(socket->ErrorCode(), HTTPSocket::kTimedOut);
  EXPECT_FALSE(socket->IsConnected());
  server.join();
  server = std::thread([&] { ServeSlowly(peer); });
  EXPECT_TRUE(socket->Get(url, folder.Item("file"), 0));
  server.join();
  EXPECT_EQ(folder.Read("file").size(), 36U);
  EXPECT_EQ(socket->log, "");
}

TEST(HTTPSocketWaiting, ASilentServerCostsNothingButTime) {
  const auto processor_seconds = [] {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
  };
  const Peer peer;  // the connection stands, but nobody takes it
  const auto socket = New<RecordingSocket>();
  const double before = processor_seconds();
  const std::int32_t started = Ticks();
  EXPECT_TRUE(socket->Get(String::Bytes(peer.Url()), 2).empty());
  EXPECT_EQ(socket->ErrorCode(), HTTPSocket::kTimedOut);
  EXPECT_GT(Ticks() - started, 2 * 60);
  EXPECT_LT(processor_seconds() - before, 1.0) << "the wait does not rest in the kernel";
}

TEST(HTTPSocketWaiting, DataLeftAtTheEndFallsToTheLimit) {
  Peer peer;
  const auto socket = New<RecordingSocket>();
  std::thread server([&] { peer.Serve("HTTP/1.0 200 OK\r\nno end"); });
  EXPECT_TRUE(socket->Get(String::Bytes(peer.Url()), 1).empty());
  EXPECT_EQ(socket->ErrorCode(), HTTPSocket::kTimedOut);
  EXPECT_EQ(socket->PageHeaders(), nil);
  server.join();
}

TEST(HTTPSocketWaiting, ANameAndPasswordAreAskedForInSilenceToo) {
  Peer peer;
  const auto socket = New<RecordingSocket>();
  socket->answers_to_401 = 1;
  std::thread server([&] {
    peer.Serve("HTTP/1.0 401 No\r\nWWW-Authenticate: B\r\n\r\nno");
    peer.Serve("HTTP/1.0 200 OK\r\n\r\nyes");
  });
  const String page = socket->Get(String::Bytes(peer.Url()), 20);
  EXPECT_EQ(std::string(page.view()), "yes");
  EXPECT_EQ(socket->log, "401 B|");
  server.join();
}

}  // namespace
}  // namespace vantorel
