// What goes out: every request is compared with what a server read from the wire.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "tests/http/RecordingSocket.h"
#include "tests/support/Peer.h"

namespace vantorel::testing {
namespace {

String Bytes(const std::string& text) {
  return String::Bytes(text);
}

// A request with the default headers, others behind them.
std::string Request(const std::string& start, const std::string& rest) {
  return start + " HTTP/1.0\r\nAccept: */*\r\nAccept-Language: en\r\n" + rest;
}

using Call = void (*)(HTTPSocket&, const Peer&);

TEST(HTTPSocketRequests, AreThoseOnTheWire) {
  const std::tuple<const char*, Call, std::string> cases[] = {
      {"query is cut, or scheme needed", [](auto& s, auto& p) { s.Get(Bytes(p.Host() + "/x?q=a/z"), 20); },
       Request("GET /x?q=a/z", "Host: HOST\r\n\r\n")},
      {"URL of a host alone has no path", [](auto& s, auto& p) { s.Get(Bytes("ftp://" + p.Host()), 20); },
       Request("GET /", "Host: HOST\r\n\r\n")},
      {"port that is no number is not the default one",
       [](auto& s, auto& p) { s.DefaultPort = p.Port(), s.Get("http://127.0.0.1:x/", 20); },
       Request("GET /", "Host: 127.0.0.1:x\r\n\r\n")},
      {"empty POST has no length", [](auto& s, auto& p) { s.Post(Bytes(p.Url()), 20); },
       Request("POST /", "Host: HOST\r\nContent-type: \r\nContent-length: 0\r\n\r\n")},
      {"length counts characters",
       [](auto& s, auto& p) { s.SetPostContent("\u00e4", "text/plain"), s.Post(Bytes(p.Url()), 20); },
       Request("POST /", "Host: HOST\r\nContent-type: text/plain\r\nContent-length: 2\r\n\r\n\u00e4")},
      {"content left over stays behind",
       [](auto& s, auto& p) { s.SetPostContent("left", "text/plain"), s.Get(Bytes(p.Url()), 20); },
       Request("GET /", "Host: HOST\r\n\r\nleft")},
      {"cleared defaults come back",
       [](auto& s, auto& p) {
         s.ClearRequestHeaders(), s.SetRequestHeader("X", "1"), s.SetRequestHeader("Y", "2");
         s.SetRequestHeader("y", ""), s.Get(Bytes(p.Url()), 20);
       },
       "GET / HTTP/1.0\r\nX: 1\r\nHost: HOST\r\n\r\n"},
      {"proxy gets a path, or its own name as host",
       [](auto& s, auto& p) {
         s.HTTPProxyAddress = "127.0.0.1", s.DefaultPort = p.Port(), s.Get("http://origin.example:81/x", 20);
       },
       Request("GET http://origin.example:81/x", "Host: origin.example:81\r\n\r\n")},
      {"key stays where a caller sees it",
       [](auto& s, auto& p) {
         s._authenticationKey = "Basic eA==", s.Get(Bytes(p.Url()), 20);
         EXPECT_EQ(s.GetRequestHeaders()->NameCount("Authorization"), 0);
       },
       Request("GET /", "Host: HOST\r\nAuthorization: Basic eA==\r\n\r\n")},
  };
  for (const auto& [fault, call, expected] : cases) {
    Peer peer;
    const auto socket = New<RecordingSocket>();
    std::string request;
    std::thread server([&] { request = peer.Serve("HTTP/1.0 200 OK\r\n\r\n"); });
    call(*socket, peer);
    server.join();
    const std::size_t host = request.find(peer.Host());
    if (host != std::string::npos) request.replace(host, peer.Host().size(), "HOST");
    EXPECT_EQ(request, expected) << fault;
    EXPECT_EQ(socket->log, "") << fault << ": a synchronous call raised events";
  }
}

TEST(HTTPSocketRequests, FormsAreEscapedOnce) {
  const auto socket = New<HTTPSocket>();
  const auto form = New<Dictionary>();
  form->SetValue("%&=,/\\][{}`~-_()*^$#!+;<>\r\n", String("%25 .:?@'\"|aZ9"));
  form->SetValue("b", String("\u00e4"));
  socket->SetFormData(form);
  EXPECT_EQ(std::string(socket->_postContent.view()),
            "%25%26%3D%2C%2F%5C%5D%5B%7B%7D%60%7E%2D%5F%28%29%2A%5E%24%23%21%2B%3B%3C%3E%0D%0A"
            "=%2525+.:?@'\"|aZ9&b=\u00e4");
}

}  // namespace
}  // namespace vantorel::testing
