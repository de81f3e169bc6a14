// The client against servers and a proxy as people run them.
#include "tests/http/RecordingSocket.h"
#include "tests/support/Peer.h"
#include "tests/support/ScratchFolder.h"

namespace vantorel::testing {
namespace {

// A site with a page and a file of 3 MB, and those who serve it: servers of the system, each on a free port
// of the loopback interface. They end with this object.
class HTTPSocketRealServers : public ::testing::Test {
 protected:
  HTTPSocketRealServers() {
    for (std::uint32_t i = 0; content_.size() < 3'000'000; ++i) content_ += std::to_string(i * 2654435761U);
    folder_.Run("mkdir www");
    folder_.Write("www/page", "a page");
    folder_.Write("www/large", content_);
    folder_.Write("passwords", "user:{PLAIN}word\n");
    folder_.Run("chmod -R a+rX .");
    folder_.Write(
        "nginx.conf",
        "master_process off; pid nginx.pid; events {} http { access_log off; client_body_temp_path t1;"
        "proxy_temp_path t2; fastcgi_temp_path t3; uwsgi_temp_path t4; scgi_temp_path t5; server {"
        "root www; location /locked/ { alias www/; auth_basic here; auth_basic_user_file passwords; }"
        "listen 127.0.0.1:" +
            std::to_string(nginx_port_) + "; } }");
    Start("/usr/sbin/nginx -p $PWD -c nginx.conf -e errors", nginx_port_);
  }
  ~HTTPSocketRealServers() override {
    folder_.Run("kill $(cat *.pid); timeout 60 sh -c 'while ls *.pid; do sleep 0.05; done'");
  }

  // Runs the command, which leaves a server behind, and waits until that takes connections.
  void Start(const std::string& command, std::int32_t port) {
    folder_.Run(command + "; timeout 60 sh -c 'until curl -so answer 127.0.0.1:" + std::to_string(port) +
                "; do sleep 0.05; done'");
  }
  String Url(const std::string& path, const std::string& host = "127.0.0.1") const {
    return String::Bytes("http://" + host + ":" + std::to_string(nginx_port_) + path);
  }

  void ExpectTheSite() {
    EXPECT_EQ(std::string(socket_->Get(Url("/page"), 20).view()), "a page");
    EXPECT_EQ(socket_->HTTPStatusCode(), 200);
    EXPECT_TRUE(socket_->Get(Url("/large"), folder_.Item("got"), 20));
    EXPECT_TRUE(folder_.Read("got") == content_);
    const Ref<InternetHeaders> headers = socket_->GetHeaders(Url("/large"), 20);
    EXPECT_EQ(std::string(headers->Value("CONTENT-LENGTH").view()), std::to_string(content_.size()));
  }

  std::string content_;
  const ScratchFolder folder_;
  const std::int32_t nginx_port_ = Peer().Port();
  Ref<RecordingSocket> socket_ = New<RecordingSocket>();
};

TEST_F(HTTPSocketRealServers, Nginx) {
  ExpectTheSite();
  EXPECT_NE(std::string(socket_->Get(Url("/locked/page"), 20).view()), "a page");
  EXPECT_EQ(socket_->HTTPStatusCode(), 401);
  socket_->answers_to_401 = 1;
  EXPECT_EQ(std::string(socket_->Get(Url("/locked/page"), 20).view()), "a page");
  EXPECT_EQ(std::string(socket_->Get(Url("/locked/page"), 20).view()), "a page") << "the key is not kept";
  EXPECT_EQ(socket_->log, "A Basic realm=\"here\"|A Basic realm=\"here\"|");
  // By name: nginx listens on one of its two addresses.
  EXPECT_EQ(std::string(socket_->Get(Url("/page", "localhost"), 20).view()), "a page");
}

TEST_F(HTTPSocketRealServers, Tinyproxy) {
  socket_->HTTPProxyAddress = "127.0.0.1";
  socket_->HTTPProxyPort = Peer().Port();
  const std::string port = std::to_string(socket_->HTTPProxyPort);
  folder_.Write("tinyproxy.conf", "Port " + port +
                                      "\nListen 127.0.0.1\nTimeout 60\nMaxClients 10\nPidFile \"" +
                                      folder_.Path("tinyproxy.pid") + "\"\n");
  Start("/usr/bin/tinyproxy -c tinyproxy.conf", socket_->HTTPProxyPort);
  ExpectTheSite();
  EXPECT_GT(socket_->PageHeaders()->NameCount("Via"), 0) << "the proxy was passed by";
}

}  // namespace
}  // namespace vantorel::testing
