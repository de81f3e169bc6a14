// The client against a server as people run it.
#include "tests/http/RecordingSocket.h"
#include "tests/support/Peer.h"
#include "tests/support/ScratchFolder.h"

namespace vantorel::testing {
namespace {

// A page, and a file of 3 MB, to all and to those who know the password.
constexpr char kConfiguration[] =
    "master_process off; pid nginx.pid; events {} http { access_log off; client_body_temp_path t1;"
    "proxy_temp_path t2; fastcgi_temp_path t3; uwsgi_temp_path t4; scgi_temp_path t5; server {"
    "root www; location /locked/ { alias www/; auth_basic here; auth_basic_user_file passwords; }"
    "listen 127.0.0.1:PORT; } }";

TEST(HTTPSocketRealServer, Nginx) {
  const ScratchFolder folder;
  const std::string port = std::to_string(Peer().Port());
  std::string content;
  for (std::uint32_t i = 0; content.size() < 3'000'000; ++i) content += std::to_string(i * 2654435761U);
  folder.Run("mkdir www");
  folder.Write("www/page", "a page");
  folder.Write("www/large", content);
  folder.Write("passwords", "user:{PLAIN}word\n");
  folder.Write("nginx.conf", kConfiguration);
  folder.Run("chmod -R a+rX .; sed -i s/PORT/" + port +
             "/ nginx.conf; /usr/sbin/nginx -p $PWD -c nginx.conf -e errors;"
             "timeout 60 sh -c 'until curl -so answer 127.0.0.1:" +
             port + "; do sleep 0.05; done'");

  const auto socket = New<RecordingSocket>();
  const auto url = [&](const std::string& path, const std::string& host = "127.0.0.1") {
    return String::Bytes("http://" + host + ":" + port + path);
  };
  const auto get = [&](const String& page) { return std::string(socket->Get(page, 20).view()); };
  EXPECT_TRUE(socket->Get(url("/large"), folder.Item("got"), 20));
  EXPECT_EQ(socket->HTTPStatusCode(), 200);
  EXPECT_TRUE(folder.Read("got") == content);
  const Ref<InternetHeaders> headers = socket->GetHeaders(url("/large"), 20);
  EXPECT_EQ(std::string(headers->Value("CONTENT-LENGTH").view()), std::to_string(content.size()));
  EXPECT_EQ(get(url("/page", "localhost")), "a page")
      << "it listens on one of the two addresses of that name";

  EXPECT_NE(get(url("/locked/page")), "a page");
  EXPECT_EQ(socket->HTTPStatusCode(), 401);
  socket->answers_to_401 = 1;
  EXPECT_EQ(get(url("/locked/page")), "a page");
  EXPECT_EQ(get(url("/locked/page")), "a page") << "the key is not kept";
  EXPECT_EQ(socket->log, "A Basic realm=\"here\"|A Basic realm=\"here\"|");

  socket->HTTPProxyAddress = "127.0.0.1";
  socket->HTTPProxyPort = std::stoi(port);
  EXPECT_EQ(get("http://origin.example/page"), "a page") << "the proxy is passed by";
  folder.Run("kill $(cat nginx.pid); timeout 60 sh -c 'while ls nginx.pid; do sleep 0.05; done'");
}

}  // namespace
}  // namespace vantorel::testing
