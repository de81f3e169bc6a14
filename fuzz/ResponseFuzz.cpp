// Responses: bytes arrive in chunks on a connection that is none, side by side with a plain description of
// what must become of them.
#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "http/HTTPSocket.h"

namespace {

using namespace vantorel;  // NOLINT(google-build-using-namespace): the harness is about nothing else

void Require(bool held) {
  if (!held) __builtin_trap();
}

class FakeConnection : public HTTPSocket {
 public:
  int tries_left = 0;
  int headers_received = 0;
  int progress = 0;
  int pages = 0;

  void Connect() override { pending_ = true; }
  void Close() override { connected_ = false; }
  void Poll() override {}
  void Write(const String& text) override {
    Require(text.view().find(" HTTP/1.0\r\n") != std::string_view::npos);
  }

  // What happens on the connection.
  void Establish() {
    if (!pending_) return;
    pending_ = false;
    connected_ = true;
    Event_Connected();
  }
  void Deliver(std::string_view chunk) { Arrive(String::Bytes(chunk)); }
  void End() {
    connected_ = false;
    last_error_code_ = kLostConnection;
    Event_Error();
  }

 protected:
  bool Event_AuthenticationRequired(const Ref<InternetHeaders>& headers, String& name,
                                    String& password) override {
    name = headers->Value("WWW-Authenticate");
    password = headers->Value(0);
    return tries_left-- > 0;
  }
  void Event_HeadersReceived(const Ref<InternetHeaders>& headers, std::int32_t /*status*/) override {
    Require(headers != nil);
    ++headers_received;
  }
  void Event_ReceiveProgress(std::int32_t received, std::int32_t /*total*/, const String& data) override {
    Require(received >= 0 && data.size() <= static_cast<std::size_t>(received));
    ++progress;
  }
  void Event_PageReceived(const String& /*url*/, std::int32_t status, const Ref<InternetHeaders>& headers,
                          const String& content) override {
    Require(status == HTTPStatusCode() && headers == _pageHeaders && content.size() == _pageBuffer.size());
    ++pages;
  }

 private:
  bool pending_ = false;
};

// Where the blank line begins and how long it is, by the order in which the kinds of line end are tried.
bool FindBlankLine(const std::string& text, std::size_t& at, std::size_t& length) {
  const bool both = text.find("\r\n") != std::string::npos;
  const std::string own = both                                   ? "\r\n"
                          : text.find('\n') != std::string::npos ? "\n"
                          : text.find('\r') != std::string::npos ? "\r"
                                                                 : "\r\n";
  for (const std::string& eol : {own, std::string("\n"), std::string("\r\n"), std::string("\r")}) {
    at = text.find(eol + eol);
    length = eol.size() * 2;
    if (at != std::string::npos) return true;
  }
  return false;
}

}  // namespace

// The first byte: method and number of tries with a password. The second: how many bytes of chunk sizes
// follow, used in turn; size 0 stands for the rest.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const bool head = (data[0] & 1) != 0;
  const auto socket = New<FakeConnection>();
  socket->tries_left = data[0] >> 1 & 3;
  const std::size_t sizes = std::min<std::size_t>(data[1], size - 2);
  std::string_view rest(reinterpret_cast<const char*>(data) + 2 + sizes, size - 2 - sizes);
  if (head) {
    socket->GetHeaders("http://host/path");
  } else {
    socket->Get("http://host/path");
  }
  socket->Establish();
  std::string received;
  bool found = false;
  std::size_t at = 0;
  std::size_t length = 0;
  for (std::size_t i = 0; !rest.empty(); ++i) {
    const std::size_t wanted = sizes == 0 ? 0 : data[2 + i % sizes];
    const std::string_view chunk = rest.substr(0, wanted == 0 ? rest.size() : wanted);
    rest.remove_prefix(chunk.size());
    received += chunk;
    const int tries_before = socket->tries_left;
    if (!found) found = FindBlankLine(received, at, length);
    socket->Deliver(chunk);
    if (found && tries_before > socket->tries_left && tries_before > 0) {  // tries again
      Require(socket->_httpStatusCode == 0 && socket->_pageHeaders == nil && socket->Lookahead().empty());
      received.clear();
      found = false;
      socket->Establish();
    }
    Require(found == (socket->_pageHeaders != nil));
    Require(socket->Lookahead().view() == (found ? std::string_view() : std::string_view(received)));
  }
  socket->End();
  const std::string_view body =
      found && !head ? std::string_view(received).substr(at + length) : std::string_view();
  Require(socket->_pageBuffer.view() == body);
  Require(socket->headers_received == (found ? 1 : 0));
  Require((socket->progress > 0) == (found && !head));
  Require(socket->pages == (head || (!found && !received.empty()) ? 0 : 1));
  return 0;
}
