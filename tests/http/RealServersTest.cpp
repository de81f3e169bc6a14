// The client against servers and a proxy as people run them.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/http/RecordingSocket.h"
#include "tests/support/Peer.h"
#include "tests/support/ScratchFolder.h"

namespace vantorel::testing {
namespace {

// A server of the system as a child process on a free port of the loopback interface. It ends with this
// object.
class ServerProcess {
 public:
  // Starts the shell's command for the port, and waits until it takes connections.
  explicit ServerProcess(const std::function<std::string(const std::string& port)>& command)
      : port_(Peer().Port()) {
    const std::string line = "exec " + command(std::to_string(port_)) + " >/dev/null 2>&1";
    process_ = fork();
    if (process_ == 0) _exit(execl("/bin/sh", "sh", "-c", line.c_str(), nullptr));
    const auto socket = New<RecordingSocket>();
    while (socket->GetHeaders(String::Bytes(Url("/")), 20) == nil) {
      if (waitpid(process_, nullptr, WNOHANG) != 0) throw std::runtime_error("ended early: " + line);
      usleep(20'000);
    }
  }
  ~ServerProcess() {
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
  }
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

  std::int32_t Port() const { return port_; }
  std::string Url(const std::string& path, const std::string& host = "127.0.0.1") const {
    return "http://" + host + ":" + std::to_string(port_) + path;
  }

 private:
  std::int32_t port_;
  pid_t process_ = -1;
};

// A site with a page and a file of 3 MB, and those who serve it.
class HTTPSocketRealServers : public ::testing::Test {
 protected:
  HTTPSocketRealServers() {
    for (std::uint32_t i = 0; content_.size() < 3'000'000; ++i) content_ += std::to_string(i * 2654435761U);
    folder_.Run("mkdir www");
    folder_.Write("www/page", "a page");
    folder_.Write("www/large", content_);
    folder_.Write("passwords", "user:{PLAIN}word\n");
    folder_.Run("chmod -R a+rX .");
  }

  std::string Nginx(const std::string& port) {
    folder_.Write(
        "nginx.conf",
        "daemon off; master_process off; pid pid; events {} http { access_log off; client_body_temp_path t1;"
        "proxy_temp_path t2; fastcgi_temp_path t3; uwsgi_temp_path t4; scgi_temp_path t5; server {"
        "root www; location /locked/ { alias www/; auth_basic here; auth_basic_user_file passwords; }"
        "listen 127.0.0.1:" +
            port + "; } }");
    return "/usr/sbin/nginx -p " + folder_.Path() + " -c " + folder_.Path("nginx.conf") + " -e errors";
  }
  std::string Tinyproxy(const std::string& port) {
    folder_.Write("tinyproxy.conf", "Port " + port + "\nListen 127.0.0.1\nTimeout 60\nMaxClients 10\n");
    return "/usr/bin/tinyproxy -d -c " + folder_.Path("tinyproxy.conf");
  }

  void ExpectTheSite(const ServerProcess& server, RecordingSocket& socket) {
    const auto url = [&](const char* path) { return String::Bytes(server.Url(path)); };
    EXPECT_EQ(std::string(socket.Get(url("/page"), 20).view()), "a page");
    EXPECT_EQ(socket.HTTPStatusCode(), 200);
    EXPECT_TRUE(socket.Get(url("/large"), folder_.Item("got"), 20));
    EXPECT_TRUE(folder_.Read("got") == content_);
    const Ref<InternetHeaders> headers = socket.GetHeaders(url("/large"), 20);
    EXPECT_EQ(std::string(headers->Value("CONTENT-LENGTH").view()), std::to_string(content_.size()));
  }

  std::string content_;
  ScratchFolder folder_;
  ServerProcess nginx_{[this](const std::string& port) { return Nginx(port); }};
  Ref<RecordingSocket> socket_ = New<RecordingSocket>();
};

TEST_F(HTTPSocketRealServers, Nginx) {
  ExpectTheSite(nginx_, *socket_);
  const String locked = String::Bytes(nginx_.Url("/locked/page"));
  EXPECT_NE(std::string(socket_->Get(locked, 20).view()), "a page");
  EXPECT_EQ(socket_->HTTPStatusCode(), 401);
  socket_->answers_to_401 = 1;
  EXPECT_EQ(std::string(socket_->Get(locked, 20).view()), "a page");
  EXPECT_EQ(std::string(socket_->Get(locked, 20).view()), "a page") << "the key is not kept";
  EXPECT_EQ(socket_->log, "A Basic realm=\"here\"|A Basic realm=\"here\"|");
  // By name: nginx listens on one of its two addresses.
  EXPECT_EQ(std::string(socket_->Get(String::Bytes(nginx_.Url("/page", "localhost")), 20).view()), "a page");
}

TEST_F(HTTPSocketRealServers, Tinyproxy) {
  const ServerProcess tinyproxy([this](const std::string& port) { return Tinyproxy(port); });
  socket_->HTTPProxyAddress = "127.0.0.1";
  socket_->HTTPProxyPort = tinyproxy.Port();
  ExpectTheSite(nginx_, *socket_);
  EXPECT_GT(socket_->PageHeaders()->NameCount("Via"), 0) << "the proxy was passed by";
}

}  // namespace
}  // namespace vantorel::testing
