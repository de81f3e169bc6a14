#include "http/HTTPSocket.h"

#include "platform/text/TextFunctions.h"

namespace vantorel {

HTTPSocket::HTTPSocket() {
  Constructor();
}

void HTTPSocket::Constructor() {
  _InitializeRequestHeaders();
  DefaultPort = 80;
}

void HTTPSocket::_InitializeRequestHeaders() {
  requestHeaders = New<InternetHeaders>();
  requestHeaders->SetHeader("Accept", "*/*");
  requestHeaders->SetHeader("Accept-Language", "en");
}

void HTTPSocket::Get(const String& url) {
  synchronous = false;
  _DoConnect(url, "GET", nil);
}

void HTTPSocket::Get(const String& url, const Ref<FolderItem>& file) {
  synchronous = false;
  _DoConnect(url, "GET", file);
}

void HTTPSocket::Post(const String& url) {
  synchronous = false;
  _DoConnect(url, "POST", nil);
}

void HTTPSocket::Post(const String& url, const Ref<FolderItem>& file) {
  synchronous = false;
  _DoConnect(url, "POST", file);
}

void HTTPSocket::GetHeaders(const String& url) {
  synchronous = false;
  _DoConnect(url, "HEAD", nil);
}

String HTTPSocket::Get(const String& url, std::int32_t timeout) {
  ConnectAndWait(url, "GET", nil, timeout);
  return _pageBuffer;
}

String HTTPSocket::Post(const String& url, std::int32_t timeout) {
  ConnectAndWait(url, "POST", nil, timeout);
  return _pageBuffer;
}

bool HTTPSocket::Get(const String& url, const Ref<FolderItem>& file, std::int32_t timeout) {
  ConnectAndWait(url, "GET", file, timeout);
  return mErrorCode == 0;
}

bool HTTPSocket::Post(const String& url, const Ref<FolderItem>& file, std::int32_t timeout) {
  ConnectAndWait(url, "POST", file, timeout);
  return mErrorCode == 0;
}

Ref<InternetHeaders> HTTPSocket::GetHeaders(const String& url, std::int32_t timeout) {
  ConnectAndWait(url, "HEAD", nil, timeout);
  return _pageHeaders;
}

void HTTPSocket::SetRequestHeader(const String& name, const String& value) {
  if (!requestHeaders) _InitializeRequestHeaders();
  if (value.empty()) {
    requestHeaders->Delete(name);
  } else {
    requestHeaders->SetHeader(name, value);
  }
}

void HTTPSocket::ClearRequestHeaders() {
  requestHeaders->DeleteAllHeaders();
}

Ref<InternetHeaders> HTTPSocket::GetRequestHeaders() const {
  return requestHeaders;
}

void HTTPSocket::SetPostContent(const String& content, const String& contentType) {
  _postContent = content;
  _postContentType = contentType;
}

void HTTPSocket::SetFormData(const Ref<Dictionary>& form) {
  if (form) {
    SetPostContent(EncodeFormData(form), "application/x-www-form-urlencoded");
  } else {
    SetPostContent(String(), String());
  }
}

std::int32_t HTTPSocket::ErrorCode() const {
  return mErrorCode;
}

std::int32_t HTTPSocket::HTTPStatusCode() const {
  return _httpStatusCode;
}

Ref<InternetHeaders> HTTPSocket::PageHeaders() const {
  return _pageHeaders && _pageHeaders->Count() != 0 ? _pageHeaders : nil;
}

void HTTPSocket::SetError(std::int32_t code) {
  mErrorCode = code;
  if (!synchronous) Event_HTTPError(code);
}

// Two bases offer these: one does the work, the other promises it.
void HTTPSocket::Write(const String& text) {
  TCPSocket::Write(text);
}

String HTTPSocket::Read(std::int32_t count, const Ref<TextEncoding>& encoding) {
  return TCPSocket::Read(count, encoding);
}

}  // namespace vantorel
