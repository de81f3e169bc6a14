// The sending half: from a URL, and a form, to the request on the wire.
#include <utility>

#include "http/HTTPSocket.h"
#include "platform/base/Arithmetic.h"
#include "platform/run/BackgroundTask.h"
#include "platform/text/TextFunctions.h"

namespace vantorel {

// The arguments are held by value, since a second try passes the object's own fields, which change on the
// way.
void HTTPSocket::_DoConnect(String url, String action, Ref<FolderItem> file) {
  mErrorCode = 0;
  _ParseURL(url);
  _processingURL = std::move(url);
  if (!_SetDownloadFile(std::move(file))) return;
  if (!HTTPProxyAddress.empty()) {
    SetAddress(HTTPProxyAddress);
    SetPort(HTTPProxyPort);
    if (Port() == 0) SetPort(DefaultPort);
  }
  _httpAction = std::move(action);
  Close();
  Purge();
  _connectionValid = false;
  _ResetVariables();
  Connect();
}

void HTTPSocket::_ParseURL(const String& url) {
  const String scheme_end = "://";
  const std::int32_t pos = InStr(url, scheme_end);
  const String rest = pos < 1 ? url : Mid(url, pos + Len(scheme_end));
  _server = NthField(rest, "/", 1);
  _path = Mid(rest, Len(_server) + 1);
  if (_path.empty()) _path = "/";
  const std::int32_t port = RuntimeCvtReal64ToSInt32(Val(NthField(_server, ":", 2)));
  SetPort(port == 0 ? DefaultPort : port);
  SetAddress(NthField(_server, ":", 1));
}

bool HTTPSocket::_SetDownloadFile(Ref<FolderItem> file) {
  _KillDownloadStream();
  if (!file) return true;
  Ref<BinaryStream> stream;
  if (!file->Directory()) {
    if (const Ref<TextOutputStream> emptied = file->CreateTextFile()) {
      emptied->Close();
      stream = file->OpenAsBinaryFile(true);
    }
  }
  if (!stream) {
    SetError(kUnusableDownloadFile);
    return false;
  }
  _downloadStream = stream;
  _downloadFile = std::move(file);
  return true;
}

void HTTPSocket::_KillDownloadStream() {
  _downloadFile = nil;
  if (_downloadStream) {
    _downloadStream->Close();
    _downloadStream = nil;
  }
}

void HTTPSocket::_SendRequest(const String& action) {
  const String crlf = "\r\n";
  if (!requestHeaders) _InitializeRequestHeaders();
  requestHeaders->SetHeader("Host", _server);
  if (!_authenticationKey.empty()) SetRequestHeader("Authorization", _authenticationKey);
  if (SameText(action, "POST")) {
    requestHeaders->SetHeader("Content-type", _postContentType);
    requestHeaders->SetHeader("Content-length", Format(LenB(_postContent), "0"));
  } else {
    SetRequestHeader("Content-type", String());
    SetRequestHeader("Content-length", String());
  }
  if (!HTTPProxyAddress.empty()) _path = _processingURL;
  String request = action + " " + _path + " HTTP/1.0" + crlf + requestHeaders->_FormatHTTPHeaders();
  // The key is kept, but not where a caller could see it.
  if (!_authenticationKey.empty()) SetRequestHeader("Authorization", String());
  // Content left from an earlier request goes out after a GET or HEAD too, unannounced; the caller clears it.
  request += crlf + crlf + _postContent;
  Write(request);
}

String HTTPSocket::EncodeFormData(const Ref<Dictionary>& form) const {
  String pairs;
  for (std::int32_t i = 0; i < form->Count(); ++i) {
    const String key = form->Key(i);
    pairs += "&" + _EncodeURLString(key) + "=" + _EncodeURLString(VariantToString(form->Value(key)));
    RuntimeBackgroundTask();
  }
  return MidB(pairs, 2);
}

String HTTPSocket::_EncodeURLString(const String& text) const {
  // The percent sign stands first, so that no escape already made is escaped again.
  const String escaped_characters = "%&=,/\\][{}`~-_()*^$#!+;<>\r\n";
  String encoded = text;
  for (std::int32_t i = 1; i <= Len(escaped_characters); ++i) {
    const String character = Mid(escaped_characters, i, 1);
    encoded = ReplaceAll(encoded, character, "%" + Right("00" + Hex(Asc(character)), 2));
    RuntimeBackgroundTask();
  }
  return ReplaceAll(encoded, " ", "+");
}

bool HTTPSocket::_SetAuthentication() {
  String name;
  String password;
  if (!Event_AuthenticationRequired(Ref(_pageHeaders), name, password)) return false;
  constexpr std::int32_t kLineWrap = 76;
  _authenticationKey = "Basic " + EncodeBase64(name + ":" + password, kLineWrap);
  return true;
}

}  // namespace vantorel
