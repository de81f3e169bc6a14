// An HTTP/1.0 client (RFC 1945) on a TCP socket. One object carries one request at a time; a new one replaces
// it. Plain HTTP only: the scheme of a URL is not looked at. Redirects are not followed.
//
// Every request call exists in two forms. The asynchronous one returns at once, and the result comes through
// the events. The synchronous one returns when the page is complete, and raises no event but
// AuthenticationRequired. Its `timeout`, in seconds (0 or less: none), begins anew when the connection is
// there, and with each piece of a body that is kept in memory.
//
// The end of the connection is the end of the page: nothing tells an orderly end from a lost connection, and
// "Content-length" serves progress reports alone. A status such as 404 is no error but a page with that
// status.
//
// Error codes: 0 none; kUnusableDownloadFile; kTimedOut; any other is the socket's LastErrorCode.
#pragma once

#include <cstddef>
#include <cstdint>

#include "http/InternetHeaders.h"
#include "http/Readable.h"
#include "http/Writeable.h"
#include "http/_SOAPSocket.h"
#include "platform/files/BinaryStream.h"
#include "platform/files/Dictionary.h"
#include "platform/files/FolderItem.h"
#include "platform/run/TCPSocket.h"
#include "platform/text/String.h"

namespace vantorel {

class HTTPSocket : public TCPSocket, public Writeable, public Readable, public _SOAPSocket {
 public:
  static constexpr std::int32_t kUnusableDownloadFile = 1;
  static constexpr std::int32_t kTimedOut = -1;
  // The status of a page that needs a name and a password.
  static constexpr std::int32_t kUnauthorized = 401;

  // As Constructor.
  HTTPSocket();

  Ref<InternetHeaders> _pageHeaders;    // headers of the response; nil until they are complete
  String _server;                       // host, with the port if the URL had one; goes into "Host"
  String _path;                         // the request target; starts with "/"
  Ref<InternetHeaders> requestHeaders;  // headers to send
  std::int32_t _totalLength = 0;        // value of "Content-length", 0 if none
  Ref<BinaryStream> _downloadStream;    // open target of a download, else nil
  Ref<FolderItem> _downloadFile;        // file of a download, else nil
  String _pageBuffer;                   // body received, when there is no download
  std::int32_t _currentLength = 0;      // body bytes received so far; INT32_MAX for 2 GiB and more
  bool _pageComplete = false;           // the page has been finished
  String _postContent;                  // body to send
  String _postContentType;              // its content type
  String _httpAction;                   // "GET", "POST" or "HEAD"
  String _processingURL;                // the URL as the caller gave it
  bool _connectionValid = false;        // connected, and no end of connection seen yet
  std::int32_t _httpStatusCode = 0;     // status of the response, 0 until known
  std::int32_t DefaultPort = 0;         // 80, set by Constructor
  String HTTPProxyAddress;              // proxy host; empty means no proxy
  std::int32_t HTTPProxyPort = 0;       // proxy port; 0 means DefaultPort
  String _authenticationKey;            // the ready value of "Authorization"; empty means none
  bool Yield = false;                   // the synchronous wait also runs DoEvents
  bool synchronous = false;             // a synchronous call is under way; suppresses all events
  std::int32_t timeoutSeconds = 0;      // silence limit of the synchronous wait; 0 or less means none
  std::int32_t mErrorCode = 0;          // last error, 0 for none
  bool threadProtection = false;        // re-entry guard of _HandleNewData

  // The socket's events, handled here.
  void Event_SendComplete(bool userAborted) override;
  void Event_Error() override;
  void Event_DataAvailable() override;
  void Event_Connected() override;

  virtual void Get(const String& url);
  // Sets a header of the requests to come; an empty value deletes it.
  virtual void SetRequestHeader(const String& name, const String& value);
  // Deletes all request headers, the default ones included, for good.
  virtual void ClearRequestHeaders();
  // Makes a form the content to post; nil clears the content.
  virtual void SetFormData(const Ref<Dictionary>& form);
  // The urlencoded text of a form. Escapes more than a textbook encoder would: also - _ ( ) * !
  virtual String EncodeFormData(const Ref<Dictionary>& form) const;
  virtual void Post(const String& url);
  // With a file, the body goes there chunk by chunk. The file is emptied before the connection is made.
  virtual void Post(const String& url, const Ref<FolderItem>& file);
  virtual void Get(const String& url, const Ref<FolderItem>& file);
  // The body of every request to come, whatever its action, until it is set anew.
  void SetPostContent(const String& content, const String& contentType) override;
  // A HEAD request.
  virtual void GetHeaders(const String& url);
  // The page; after a time-out, what there is of it by then; empty where no connection came about (ErrorCode
  // tells why).
  String Get(const String& url, std::int32_t timeout) override;
  String Post(const String& url, std::int32_t timeout) override;
  // True if there was no error. The limit runs from the connection: body bytes do not renew it.
  virtual bool Get(const String& url, const Ref<FolderItem>& file, std::int32_t timeout);
  virtual bool Post(const String& url, const Ref<FolderItem>& file, std::int32_t timeout);
  virtual Ref<InternetHeaders> GetHeaders(const String& url, std::int32_t timeout);
  std::int32_t ErrorCode() const override;
  // Headers of the page; nil if there are none.
  virtual Ref<InternetHeaders> PageHeaders() const;
  virtual std::int32_t HTTPStatusCode() const;

  Ref<InternetHeaders> GetRequestHeaders() const override;
  // The state of a new object: default request headers, DefaultPort 80.
  void Constructor();

  void Write(const String& text) override;
  String Read(std::int32_t count, const Ref<TextEncoding>& encoding = nil) override;

  // The steps of a request, in the order in which they come into play.
  void _DoConnect(String url, String action, Ref<FolderItem> file);
  void _ParseURL(const String& url);
  // Opens the file as the download's target, nil for none. False after the error has been reported.
  bool _SetDownloadFile(Ref<FolderItem> file);
  void _KillDownloadStream();
  void _ResetVariables();
  void _InitializeRequestHeaders();
  void _SendRequest(const String& action);
  void _HandleNewData();
  void _ParseHeaders(const String& block);
  // Asks for name and password. True if there is an answer to try.
  bool _SetAuthentication();
  void _ProcessData(const String& data);
  void _ProcessPage();
  void WaitForPage();
  void SetError(std::int32_t code);
  String _EncodeURLString(const String& text) const;

 protected:
  // Events of this class, for subclasses to override. An event that is not overridden is unhandled: the
  // versions here do nothing, and AuthenticationRequired answers false. (Connected and Error carry the
  // class's prefix to keep them apart from the socket's own events.)
  //
  // Order of a GET: HTTPConnected, HeadersReceived, ReceiveProgress once or more, then PageReceived or
  // DownloadComplete. Of a HEAD: HTTPConnected, HeadersReceived.

  // The connection is up; the request has not been sent yet.
  virtual void Event_HTTPConnected() {}
  // The server wants a name and a password (status 401). True: try again with those. No limit is set to the
  // number of tries.
  virtual bool Event_AuthenticationRequired(const Ref<InternetHeaders>& /*headers*/, String& /*name*/,
                                            String& /*password*/) {
    return false;
  }
  virtual void Event_HeadersReceived(const Ref<InternetHeaders>& /*headers*/, std::int32_t /*httpStatus*/) {}
  // `totalBytes` is 0 if the server did not tell, INT32_MAX for 2 GiB and more. The first one of a page can
  // bring no data.
  virtual void Event_ReceiveProgress(std::int32_t /*bytesReceived*/, std::int32_t /*totalBytes*/,
                                     const String& /*newData*/) {}
  // `headers` is nil if the connection ended before they were complete.
  virtual void Event_PageReceived(const String& /*url*/, std::int32_t /*httpStatus*/,
                                  const Ref<InternetHeaders>& /*headers*/, const String& /*content*/) {}
  virtual void Event_DownloadComplete(const String& /*url*/, std::int32_t /*httpStatus*/,
                                      const Ref<InternetHeaders>& /*headers*/,
                                      const Ref<FolderItem>& /*file*/) {}
  virtual void Event_HTTPError(std::int32_t /*code*/) {}

 private:
  // A synchronous call, but for its result.
  void ConnectAndWait(const String& url, const String& action, const Ref<FolderItem>& file,
                      std::int32_t timeout);
  // Takes the header block out of the receive buffer and acts on it, if it is complete.
  void ReceiveHeaders();

  // Up to where the bytes received are known not to hold the end of the headers; counted from the first byte
  // of the socket's life, so that it stays right when somebody else reads from the receive buffer meanwhile.
  std::uint64_t searched_to_ = 0;
};

}  // namespace vantorel
