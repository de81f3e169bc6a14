// What comes back, over connections on which a scripted peer says what no real server would.
#include <gtest/gtest.h>

#include <string>

#include "platform/text/TextFunctions.h"
#include "tests/http/Peer.h"
#include "tests/http/RecordingSocket.h"
#include "tests/support/ScratchFolder.h"

namespace vantorel {
namespace {

using testing::Peer;
using testing::RecordingSocket;
using testing::ScratchFolder;

// A request under way on a connection of its own.
struct Exchange {
  Peer peer;
  Ref<RecordingSocket> socket = New<RecordingSocket>();

  String Url() const { return String::Bytes(peer.Url()); }
  std::string TakeRequest() {
    EXPECT_TRUE(socket->PollUntil([&] { return socket->IsConnected(); }));
    peer.Accept();
    return peer.ReadRequest();
  }
  // Sends one chunk and sees it arrive, as one event.
  void Deliver(std::string_view chunk) {
    const int before = socket->arrivals;
    peer.Send(chunk);
    EXPECT_TRUE(socket->PollUntil([&] { return socket->arrivals > before; }));
  }
  void End(void (Peer::*end)() = &Peer::Close) {
    (peer.*end)();
    EXPECT_TRUE(socket->PollUntil([&] { return !socket->IsConnected(); }));
  }
};

// Chunks are divided by "|", and so are the lines of the log.
const struct {
  const char* fault;
  const char* chunks;
  const char* log;
  void (Peer::*end)() = &Peer::Close;
} kCases[] = {
    {"CR LF", "HTTP/1.0 200 OK\r\nX: 1\r\n\r\nbody", "headers 200 1|progress 4/0 body|page 200 body|"},
    {"LF", "HTTP/1.0 200 OK\nX: 1\n\nbody", "headers 200 1|progress 4/0 body|page 200 body|"},
    {"CR", "HTTP/1.0 200 OK\rX: 1\r\rbody", "headers 200 1|progress 4/0 body|page 200 body|"},
    {"CR LF, then LF LF", "HTTP/1.0 200\r\nX: 1\n\nbody", "headers 200 1|progress 4/0 body|page 200 body|"},
    {"LF, then CR CR", "HTTP/1.0 200\nX: 1\r\rbody", "headers 200 1|progress 4/0 body|page 200 body|"},
    {"blank line of LF counts before one of CR LF that is there too", "H 200\r\nX: 1\n\nbo\r\n\r\ndy",
     "headers 200 1\n\nbo|progress 2/0 dy|page 200 dy|"},
    {"blank line of LF does not count before one of CR LF comes", "H 200\r\nX: 1\n\nbo|\r\n\r\ndy",
     "headers 200 1|progress 2/0 bo|progress 8/0 \r\n\r\ndy|page 200 bo\r\n\r\ndy|"},
    {"body apart from the headers", "H 200\r\nContent-LENGTH: 4\r\n\r\n|bo|dy",
     "headers 200 |progress 0/4 |progress 2/4 bo|progress 4/4 dy|page 200 body|"},
    {"blank line in two chunks", "H 200\r\n\r|\nbody", "headers 200 |progress 4/0 body|page 200 body|"},
    {"no body", "H 204\r\n\r\n", "headers 204 |progress 0/0 |page 204 |"},
    {"length too small", "H 200\nContent-length: 1\n\nbody", "headers 200 |progress 4/1 body|page 200 body|"},
    {"length too large", "H 200\nContent-length: 9\n\nbody", "headers 200 |progress 4/9 body|page 200 body|"},
    {"length beyond numbers", "H 200\nContent-length: 99999999999999999999\n\nbody",
     "headers 200 |progress 4/-2147483648 body|page 200 body|"},
    {"second of two lengths counts", "H 200\nContent-length: 3\nContent-length: 4\n\nbody",
     "headers 200 |progress 4/3 body|page 200 body|"},
    {"repeated, folded", "H 200\r\nX: 1\r\nx: 2\r\n\t3\r\n\r\n",
     "headers 200 1, 2 3|progress 0/0 |page 200 |"},
    {"no status line", "X: 1\r\nY: 2\r\n\r\nbody", "headers 1 1|progress 4/0 body|page 1 body|"},
    {"status of letters", "HTTP/1.0 OK\r\n\r\nbody", "headers 0 |progress 4/0 body|page 0 body|"},
    {"blank line first", "\r\n\r\nbody", "headers 0 |progress 4/0 body|page 0 body|"},
    {"redirect is followed", "H 302\nLocation: /\n\nmoved",
     "headers 302 |progress 5/0 moved|page 302 moved|"},
    {"401 without an answer", "H 401\nWWW-Authenticate: B\n\nwho| goes",
     "401 B|headers 401 |progress 3/0 who|progress 8/0  goes|page 401 who goes|"},
    {"reset", "H 200\nContent-length: 9\n\nbody", "headers 200 |progress 4/9 body|page 200 body|",
     &Peer::Reset},
    {"nothing at all", "", "page 0 no headers |"},
    {"reset before anything", "", "page 0 no headers |", &Peer::Reset},
    // Bytes left at the end of the connection are looked at once more; they end no page.
    {"end within the headers", "H 200\r\nX: 1\r\n", ""},
};

TEST(HTTPSocketResponses, EndInTheirState) {
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.fault);
    Exchange exchange;
    exchange.socket->Get(exchange.Url());
    exchange.TakeRequest();
    for (const String& chunk : Split(c.chunks, "|")) {
      if (!chunk.empty()) exchange.Deliver(chunk.view());
    }
    exchange.End(c.end);
    EXPECT_EQ(exchange.socket->log, std::string("connected|") + c.log);
    // A second end of the same connection is a failure.
    exchange.socket->Event_Error();
    EXPECT_EQ(exchange.socket->ErrorCode(), SocketCore::kLostConnection);
  }
}

TEST(HTTPSocketResponses, MayBeCutAtEveryByte) {
  const auto page = [](std::string log) { return log.substr(std::min(log.rfind("page "), log.size())); };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.fault);
    if (std::string(c.chunks).find("bo\r\n\r\ndy") != std::string::npos)
      continue;  // means other pages in pieces
    Exchange exchange;
    exchange.socket->Get(exchange.Url());
    exchange.TakeRequest();
    for (const char& byte : std::string_view(c.chunks)) {
      if (byte != '|') exchange.Deliver({&byte, 1});
    }
    exchange.End();
    EXPECT_EQ(page(exchange.socket->log), page(c.log));
  }
}

TEST(HTTPSocketResponses, ToHeadEndAtTheHeaders) {
  Exchange exchange;
  exchange.socket->GetHeaders(exchange.Url());
  exchange.TakeRequest();
  exchange.Deliver("HTTP/1.0 200 OK\r\nX: 1\r\n\r\nunasked");
  exchange.End();
  EXPECT_EQ(exchange.socket->log, "connected|headers 200 1|");
  EXPECT_TRUE(exchange.socket->_pageComplete);
}

TEST(HTTPSocketResponses, GoToAFile) {
  Exchange exchange;
  const ScratchFolder folder;
  exchange.socket->Get(exchange.Url(), folder.Write("file", "longer than what comes"));
  exchange.TakeRequest();
  exchange.Deliver("HTTP/1.0 404 Gone\r\n\r\nsome");
  exchange.Deliver("thing");
  exchange.End();
  EXPECT_EQ(exchange.socket->log,
            "connected|headers 404 |progress 4/0 some|progress 9/0 thing|download 404 9|");
  EXPECT_EQ(folder.Read("file"), "something");
  EXPECT_TRUE(exchange.socket->_pageBuffer.empty());
}

TEST(HTTPSocketResponses, AFileThatCannotBeUsedPreventsTheConnection) {
  for (const char* path : {"/", "/nowhere/file"}) {
    Exchange exchange;
    exchange.socket->Get(exchange.Url(), GetFolderItem(path));
    EXPECT_EQ(exchange.socket->log, "error 1|") << path;
    // The synchronous wait forgets the code and runs into its limit.
    EXPECT_FALSE(exchange.socket->Get(exchange.Url(), GetFolderItem(path), 1));
    EXPECT_EQ(exchange.socket->ErrorCode(), HTTPSocket::kTimedOut) << path;
  }
}

TEST(HTTPSocketResponses, ANameAndPasswordAreTriedAsOftenAsTheHandlerSays) {
  Exchange exchange;
  exchange.socket->answers_to_401 = 2;
  exchange.socket->Get(exchange.Url());
  for (int i = 0; i < 3; ++i) {
    const std::string request = exchange.TakeRequest();
    EXPECT_EQ(request.find("Authorization: Basic dXNlcjp3b3Jk\r\n") != std::string::npos, i > 0);
    exchange.Deliver("HTTP/1.0 401 No\r\nWWW-Authenticate: B\r\n\r\nno" + std::to_string(i));
  }
  exchange.End();
  EXPECT_EQ(exchange.socket->log,
            "connected|401 B|connected|401 B|connected|401 B|headers 401 |progress 3/0 no2|"
            "page 401 no2|");
}

TEST(HTTPSocketResponses, AHandlerThatLetsEventsRunIsNotEnteredAgain) {
  Exchange exchange;
  RecordingSocket& socket = *exchange.socket;
  socket.on_progress = [&] {
    exchange.Deliver("dy");
    socket.log += "left alone|";
  };
  socket.Get(exchange.Url());
  exchange.TakeRequest();
  exchange.Deliver("HTTP/1.0 200 OK\r\n\r\nbo");
  exchange.Deliver("!");
  exchange.End();
  EXPECT_EQ(socket.log, "connected|headers 200 |progress 2/0 bo|left alone|progress 5/0 dy!|page 200 body!|");
}

TEST(HTTPSocketResponses, ANewRequestReplacesTheOldOne) {
  Exchange exchange;
  exchange.socket->Get(exchange.Url());
  exchange.TakeRequest();
  exchange.Deliver("HTTP/1.0 200 OK\r\nX: a long one that is not yet compl");
  exchange.socket->Get(exchange.Url());
  exchange.TakeRequest();
  exchange.Deliver("H 200\r\n\r\nnew");
  exchange.End();
  EXPECT_EQ(exchange.socket->log, "connected|connected|headers 200 |progress 3/0 new|page 200 new|");
}

TEST(HTTPSocketResponses, AFailedConnectionIsTheSocketsError) {
  const auto socket = New<RecordingSocket>();
  const String refused = String::Bytes(Peer().Url());
  EXPECT_TRUE(socket->Get(refused, 20).empty());
  EXPECT_EQ(socket->ErrorCode(), SocketCore::kConnectionRefused);
  EXPECT_EQ(socket->PageHeaders(), nil);
  socket->Get("http:///no-host", 20);
  EXPECT_NE(socket->ErrorCode(), 0);
  EXPECT_EQ(socket->log, "");
  socket->Get(refused);
  EXPECT_TRUE(socket->PollUntil([&] { return !socket->log.empty(); }));
  EXPECT_EQ(socket->log, "error " + std::to_string(SocketCore::kConnectionRefused) + "|");
}

}  // namespace
}  // namespace vantorel
