// What comes back, over connections on which a scripted peer says what no real server would.
#include <utility>

#include "platform/text/TextFunctions.h"
#include "tests/http/RecordingSocket.h"
#include "tests/support/Peer.h"
#include "tests/support/ScratchFolder.h"

namespace vantorel::testing {
namespace {

// A request under way on a connection of its own.
struct Exchange {
  Peer peer;
  Ref<RecordingSocket> socket = New<RecordingSocket>();

  String Url() const { return String::Bytes(peer.Url()); }
  // Takes the connection of the request that `socket` has started; returns the request.
  std::string TakeRequest() {
    EXPECT_TRUE(socket->PollUntil([&] { return socket->IsConnected(); }));
    peer.Accept();
    return peer.ReadRequest();
  }
  void Get() {
    socket->Get(Url());
    TakeRequest();
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

// Chunks are divided by "|".
const struct {
  const char* fault;
  const char* chunks;
  const char* log;
  void (Peer::*end)() = &Peer::Close;
} kCases[] = {
    {"CR LF", "HTTP/1.0 200 OK\r\nX: 1\r\n\r\nbody", "H200 1|4/0 body|P200 body|"},
    {"LF", "HTTP/1.0 200 OK\nX: 1\n\nbody", "H200 1|4/0 body|P200 body|"},
    {"CR", "HTTP/1.0 200 OK\rX: 1\r\rbody", "H200 1|4/0 body|P200 body|"},
    {"CR LF, then LF LF", "H 200\r\nX: 1\n\nbody", "H200 1|4/0 body|P200 body|"},
    {"LF LF before CR LF CR LF", "H 200\r\nX: 1\n\nbo\r\n\r\ndy", "H200 1\n\nbo|2/0 dy|P200 dy|"},
    {"body in chunks", "H 200\nContent-LENGTH: 4\n\n|bo|dy", "H200 |0/4 |2/4 bo|4/4 dy|P200 body|"},
    {"no body", "H 204\r\n\r\n", "H204 |0/0 |P204 |"},
    {"length too large", "H 200\nContent-length: 9\n\nbody", "H200 |4/9 body|P200 body|"},
    {"huge length", "H 200\nContent-length: 99999999999\n\nbody", "H200 |4/2147483647 body|P200 body|"},
    {"no status line", "X: 1\r\nY: 2\r\n\r\nbody", "H1 1|4/0 body|P1 body|"},
    {"redirect is followed", "H 302\nLocation: /\n\nmoved", "H302 |5/0 moved|P302 moved|"},
    {"401, no answer", "H 401\nWWW-Authenticate: B\n\nwho| is", "A B|H401 |3/0 who|6/0  is|P401 who is|"},
    {"reset", "H 200\nContent-length: 9\n\nbody", "H200 |4/9 body|P200 body|", &Peer::Reset},
    {"nothing at all", "", "P0 no headers |"},
    // Bytes left at the end of the connection are looked at once more; they end no page.
    {"end within the headers", "H 200\r\nX: 1\r\n", ""},
};

TEST(HTTPSocketResponses, EndInTheirStateWhereverTheyAreCut) {
  const auto page = [](const std::string& log) { return log.substr(std::min(log.rfind("|P"), log.size())); };
  for (const auto& c : kCases) {
    for (const bool into_bytes : {false, true}) {
      SCOPED_TRACE(c.fault + std::string(into_bytes ? ", byte by byte" : ""));
      if (into_bytes && std::string(c.fault) == "LF LF before CR LF CR LF")
        continue;  // means another page then
      Exchange exchange;
      exchange.Get();
      for (const String& chunk : Split(c.chunks, "|")) {
        const std::size_t step = into_bytes ? 1 : chunk.size();
        for (std::size_t at = 0; at < chunk.size(); at += step)
          exchange.Deliver(chunk.view().substr(at, step));
      }
      exchange.End(into_bytes ? &Peer::Close : c.end);
      const std::string expected = std::string("C|") + c.log;
      const std::string& log = exchange.socket->log;
      EXPECT_EQ(into_bytes ? page(log) : log, into_bytes ? page(expected) : expected);
    }
  }
}

TEST(HTTPSocketResponses, GoToAFile) {
  Exchange exchange;
  const ScratchFolder folder;
  exchange.socket->Get(exchange.Url(), GetFolderItem("/nowhere/file"));
  EXPECT_EQ(std::exchange(exchange.socket->log, ""), "E1|") << "no connection where there is no file";
  exchange.socket->Get(exchange.Url(), folder.Write("file", "longer than what comes"));
  exchange.TakeRequest();
  exchange.Deliver("HTTP/1.0 404 Gone\r\n\r\nsome");
  exchange.Deliver("thing");
  exchange.End();
  EXPECT_EQ(exchange.socket->log, "C|H404 |4/0 some|9/0 thing|D404 9|");
  EXPECT_EQ(folder.Read("file"), "something");
}

TEST(HTTPSocketResponses, AHandlerThatLetsEventsRunIsNotEnteredAgain) {
  Exchange exchange;
  RecordingSocket& socket = *exchange.socket;
  socket.on_progress = [&] {
    exchange.Deliver("dy");
    socket.log += "left alone|";
  };
  exchange.Get();
  exchange.Deliver("HTTP/1.0 200 OK\r\n\r\nbo");
  exchange.Deliver("!");
  exchange.End();
  EXPECT_EQ(socket.log, "C|H200 |2/0 bo|left alone|5/0 dy!|P200 body!|");
}

TEST(HTTPSocketResponses, ANewRequestReplacesTheOldOne) {
  Exchange exchange;
  exchange.Get();
  exchange.Deliver("HTTP/1.0 200 OK\r\nX: a long one that is not yet compl");
  exchange.Get();
  exchange.Deliver("H 200\r\n\r\nnew");
  exchange.socket->on_page = [&] { exchange.socket->Get(exchange.Url()); };
  exchange.peer.Close();
  EXPECT_TRUE(exchange.socket->PollUntil([&] { return exchange.socket->log.ends_with("|C|"); }));
  EXPECT_EQ(exchange.socket->log, "C|C|H200 |3/0 new|P200 new|C|") << "a page goes with the next request";
}

TEST(HTTPSocketResponses, BytesThatOthersReadDoNotHideTheEndOfTheHeaders) {
  Exchange exchange;
  exchange.Get();
  exchange.Deliver("a greeting of the server's own, which a subclass takes");
  exchange.socket->ReadAll();
  exchange.Deliver("H 200\r\n\r\nbody");
  exchange.End();
  EXPECT_EQ(exchange.socket->log, "C|H200 |4/0 body|P200 body|");
}

TEST(HTTPSocketResponses, AFailedConnectionIsTheSocketsErrorAndLeavesNoOldPage) {
  Exchange exchange;
  RecordingSocket& socket = *exchange.socket;
  const String refused = String::Bytes(Peer().Url());
  exchange.Get();
  exchange.Deliver("HTTP/1.0 200 OK\r\nX: 1\r\n\r\nold");
  EXPECT_EQ(socket.Get(refused, 20).view(), "");
  EXPECT_EQ(socket.ErrorCode(), SocketCore::kConnectionRefused);
  EXPECT_EQ(socket.PageHeaders(), nil);
  socket.log.clear();
  socket.Get(refused);
  EXPECT_TRUE(socket.PollUntil([&] { return !socket.log.empty(); }));
  EXPECT_EQ(socket.log, "E" + std::to_string(SocketCore::kConnectionRefused) + "|");
}

}  // namespace
}  // namespace vantorel::testing
