// The client against servers and a proxy as people run them.
#include <gtest/gtest.h>

#include <string>

#include "platform/run/EventLoop.h"
#include "tests/http/RecordingSocket.h"
#include "tests/http/ServerProcess.h"
#include "tests/support/ScratchFolder.h"

namespace vantorel {
namespace {

using testing::RecordingSocket;
using testing::ScratchFolder;
using testing::ServerProcess;

// A site with a page and a file of 3 MB, and the servers to serve it.
class HTTPSocketRealServers : public ::testing::Test {
 protected:
  HTTPSocketRealServers() {
    for (std::uint32_t i = 0; content_.size() < 3'000'000; ++i) content_ += std::to_string(i * 2654435761U);
    folder_.Run("mkdir www");
    folder_.Write("www/page.txt", "a page");
    folder_.Write("www/large", content_);
    folder_.Run("chmod -R a+rX .");
  }

  std::vector<std::string> Nginx(std::int32_t port) {
    folder_.Write("passwords", "user:{PLAIN}word\n");
    std::string paths;
    for (const std::string kind : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"}) {
      paths += kind + "_temp_path " + folder_.Path(kind) + ";";
    }
    folder_.Write("nginx.conf", "daemon off; master_process off; pid " + folder_.Path("nginx.pid") +
                                    "; events {} http { access_log off; " + paths +
                                    "server { listen 127.0.0.1:" + std::to_string(port) + "; root " +
                                    folder_.Path("www") + "; location /locked/ { alias " +
                                    folder_.Path("www") + "/; auth_basic here; auth_basic_user_file " +
                                    folder_.Path("passwords") +
                                    "; } location /moved { return 302 /page.txt; } } }");
    return {"/usr/sbin/nginx", "-c", folder_.Path("nginx.conf"), "-e", folder_.Path("error.log")};
  }
  std::vector<std::string> Python(std::int32_t port) {
    return {"/usr/bin/env", "PYTHONWARNINGS=ignore", "/bin/sh", "-c",
            "exec /usr/bin/python3 -m http.server --bind 127.0.0.1 --directory " + folder_.Path("www") + " " +
                std::to_string(port) + " >/dev/null 2>&1"};
  }
  std::vector<std::string> Tinyproxy(std::int32_t port) {
    folder_.Write("tinyproxy.conf", "Port " + std::to_string(port) +
                                        "\nListen 127.0.0.1\nTimeout 60\nMaxClients 10\nLogLevel Critical\n"
                                        "LogFile \"" +
                                        folder_.Path("tinyproxy.log") + "\"\n");
    return {"/usr/bin/tinyproxy", "-d", "-c", folder_.Path("tinyproxy.conf")};
  }

  // What every server must do for the client that `socket` is.
  void ServesTheSite(const ServerProcess& server, RecordingSocket& socket) {
    const auto url = [&](const char* path) { return String::Bytes(server.Url(path)); };
    EXPECT_EQ(std::string(socket.Get(url("/page.txt"), 20).view()), "a page");
    EXPECT_EQ(socket.HTTPStatusCode(), 200);
    EXPECT_TRUE(socket.Get(url("/large"), 20).view() == content_);
    EXPECT_TRUE(socket.Get(url("/large"), folder_.Item("got"), 20));
    EXPECT_TRUE(folder_.Read("got") == content_);
    const Ref<InternetHeaders> headers = socket.GetHeaders(url("/large"), 20);
    EXPECT_EQ(std::string(headers->Value("CONTENT-LENGTH").view()), std::to_string(content_.size()));
    EXPECT_FALSE(socket.Get(url("/absent"), 20).empty());
    EXPECT_EQ(socket.HTTPStatusCode(), 404);
    EXPECT_EQ(socket.ErrorCode(), 0);
  }

  std::string content_;
  ScratchFolder folder_;
};

TEST_F(HTTPSocketRealServers, ServeTheClient) {
  const ServerProcess nginx([this](std::int32_t port) { return Nginx(port); });
  const ServerProcess python([this](std::int32_t port) { return Python(port); });
  const ServerProcess tinyproxy([this](std::int32_t port) { return Tinyproxy(port); });
  const auto socket = New<RecordingSocket>();
  {
    SCOPED_TRACE("nginx");
    ServesTheSite(nginx, *socket);
  }
  {
    SCOPED_TRACE("python");
    ServesTheSite(python, *socket);
  }
  socket->HTTPProxyAddress = "127.0.0.1";
  socket->HTTPProxyPort = tinyproxy.Port();
  {
    SCOPED_TRACE("nginx through tinyproxy");
    ServesTheSite(nginx, *socket);
  }
  EXPECT_TRUE(socket->PageHeaders()->NameCount("Via") > 0) << "the proxy was passed by";
}

TEST_F(HTTPSocketRealServers, NginxAsksAndRedirects) {
  const ServerProcess nginx([this](std::int32_t port) { return Nginx(port); });
  const auto socket = New<RecordingSocket>();
  const String locked = String::Bytes(nginx.Url("/locked/page.txt"));
  EXPECT_NE(std::string(socket->Get(locked, 20).view()), "a page");
  EXPECT_EQ(socket->HTTPStatusCode(), 401);
  socket->answers_to_401 = 1;
  EXPECT_EQ(std::string(socket->Get(locked, 20).view()), "a page");
  EXPECT_EQ(socket->log, "401 Basic realm=\"here\"|401 Basic realm=\"here\"|");
  EXPECT_EQ(std::string(socket->Get(locked, 20).view()), "a page") << "the key is kept";
  socket->Get(String::Bytes(nginx.Url("/moved")), 20);
  EXPECT_EQ(socket->HTTPStatusCode(), 302);
  // By name: the server listens on one address of several.
  EXPECT_EQ(std::string(socket->Get(String::Bytes(nginx.Url("/page.txt", "localhost")), 20).view()),
            "a page");
}

TEST_F(HTTPSocketRealServers, DownloadByTheEventLoop) {
  const ServerProcess nginx([this](std::int32_t port) { return Nginx(port); });
  const auto socket = New<RecordingSocket>();
  socket->Get(String::Bytes(nginx.Url("/large")), folder_.Item("got"));
  const auto complete = [&] {
    return socket->log.ends_with("download 200 " + std::to_string(content_.size()) + "|");
  };
  EventLoop::Current().RunUntil(complete);
  EXPECT_TRUE(folder_.Read("got") == content_);
}

}  // namespace
}  // namespace vantorel
