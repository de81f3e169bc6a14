// What a remote procedure call over HTTP needs of a socket. An interface only: the object is held as what it
// is.
#pragma once

#include <cstdint>

#include "http/InternetHeaders.h"
#include "platform/text/String.h"

namespace vantorel {

class _SOAPSocket {
 public:
  virtual void SetPostContent(const String& content, const String& contentType) = 0;
  virtual String Post(const String& url, std::int32_t timeout) = 0;
  virtual std::int32_t ErrorCode() const = 0;
  virtual String Get(const String& url, std::int32_t timeout) = 0;
  virtual Ref<InternetHeaders> GetRequestHeaders() const = 0;

 protected:
  ~_SOAPSocket() = default;
};

}  // namespace vantorel
