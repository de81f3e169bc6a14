// The synchronous calls and their silence limit.
#include <chrono>
#include <thread>

#include "platform/run/Application.h"
#include "platform/run/EventLoop.h"
#include "platform/run/Runtime.h"
#include "tests/http/RecordingSocket.h"
#include "tests/support/Peer.h"
#include "tests/support/ScratchFolder.h"

namespace vantorel::testing {
namespace {

// A page that comes in pieces: together they take longer than a limit of two seconds, each alone does not.
void ServeSlowly(Peer& peer) {
  peer.Accept();
  peer.ReadRequest();
  peer.Send("HTTP/1.0 200 OK\r\n\r\n");
  for (int i = 0; i < 6; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    peer.Send("piece ");
  }
  peer.Close();
}

TEST(HTTPSocketWaiting, IsLimitedBySilence) {
  Peer peer;
  const ScratchFolder folder;
  const auto socket = New<RecordingSocket>();
  const auto call = [&](auto... arguments) {
    std::thread server([&] { ServeSlowly(peer); });
    const auto result = socket->Get(String::Bytes(peer.Url()), arguments...);
    server.join();
    return result;
  };
  EXPECT_EQ(call(2).size(), 36U);
  EXPECT_EQ(socket->ErrorCode(), 0);
  // Bytes that go to a file are silence: here the limit counts from the connection.
  EXPECT_FALSE(call(folder.Item("file"), 2));
  EXPECT_EQ(socket->ErrorCode(), HTTPSocket::kTimedOut);
  EXPECT_TRUE(call(folder.Item("file"), 0));
  EXPECT_EQ(folder.Read("file").size(), 36U);
  EXPECT_EQ(socket->log, "");
}

TEST(HTTPSocketWaiting, EndsAtTheLimitWhereNothingEndsThePage) {
  Peer peer;
  const String url = String::Bytes(peer.Url());
  const auto socket = New<RecordingSocket>();
  bool others_ran = false;
  EventLoop::Current().Queue([&] { others_ran = true; });
  EXPECT_TRUE(socket->Get(url, 1).empty()) << "silence";
  EXPECT_FALSE(others_ran) << "events of others run unasked";
  EXPECT_EQ(socket->ErrorCode(), HTTPSocket::kTimedOut);
  peer.Accept();
  std::thread server([&] { peer.Serve("HTTP/1.0 200 OK\r\nno end"); });
  EXPECT_TRUE(socket->Get(url, 1).empty()) << "bytes left at the end of the connection";
  EXPECT_EQ(socket->ErrorCode(), HTTPSocket::kTimedOut);
  EXPECT_EQ(socket->PageHeaders(), nil);
  server.join();
  _RuntimeRegisterAppObject(New<Application>());
  socket->Yield = true;
  // An unusable file is forgotten as an error, and no connection is made.
  EXPECT_FALSE(socket->Get(url, GetFolderItem("/nowhere/file"), 1));
  EXPECT_EQ(socket->ErrorCode(), HTTPSocket::kTimedOut);
  EXPECT_TRUE(others_ran);
}

}  // namespace
}  // namespace vantorel::testing
