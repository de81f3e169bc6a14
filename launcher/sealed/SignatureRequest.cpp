#include "launcher/sealed/SignatureRequest.h"

#include <utility>

namespace vantorel::sealed {
namespace {

constexpr std::int32_t kMostBytes = 4096;
constexpr std::int32_t kMostMilliseconds = 30000;
constexpr std::size_t kMostHeaderBytes = 65536;
constexpr std::int32_t kFirstGoodStatus = 200;
constexpr std::int32_t kLastGoodStatus = 299;
constexpr std::int32_t kNotFound = 404;
constexpr std::int32_t kGone = 410;

}  // namespace

// What arrives in one go holds more than the headers: only once those have been looked for in it does its
// size tell something.
bool HeadersAreEndless(const HTTPSocket& socket) {
  return !socket._pageHeaders && socket.Lookahead().size() > kMostHeaderBytes;
}

SignatureRequest::SignatureRequest() {
  limit_->SetPeriod(kMostMilliseconds);
  limit_->Action = [this] { Fail(Status::kNotLoaded, "the signature takes too long"); };
}

void SignatureRequest::Start(const String& url) {
  limit_->SetMode(1);
  Get(url);
}

void SignatureRequest::Event_DataAvailable() {
  HTTPSocket::Event_DataAvailable();
  if (HeadersAreEndless(*this)) Fail(Status::kNotLoaded, "the signature's headers do not end");
}

void SignatureRequest::Event_ReceiveProgress(std::int32_t bytesReceived, std::int32_t /*totalBytes*/,
                                             const String& /*newData*/) {
  if (bytesReceived > kMostBytes) Fail(Status::kBadSignature, "the signature is longer than 4 KiB");
}

void SignatureRequest::Event_PageReceived(const String& /*url*/, std::int32_t httpStatus,
                                          const Ref<InternetHeaders>& /*headers*/, const String& content) {
  const bool good = httpStatus >= kFirstGoodStatus && httpStatus <= kLastGoodStatus;
  if (httpStatus == kNotFound || httpStatus == kGone || (good && content.empty())) {
    Fail(Status::kNoSignature, "the server has no signature");
  } else if (!good) {
    Fail(Status::kNotLoaded, "the server answers the request for the signature with an error");
  } else if (End()) {
    Received(std::string(content.view()));
  }
}

void SignatureRequest::Event_HTTPError(std::int32_t /*code*/) {
  Fail(Status::kNotLoaded, "the signature cannot be fetched");
}

void SignatureRequest::Fail(const char* status, const char* detail) {
  if (End()) Failed(Refusal(status, detail));
}

bool SignatureRequest::End() {
  limit_->SetMode(0);
  Close();
  return !std::exchange(ended_, true);
}

}  // namespace vantorel::sealed
