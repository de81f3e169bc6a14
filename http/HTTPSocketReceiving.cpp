// The receiving half: from the socket's events to the page and the events of this class.
#include <algorithm>
#include <limits>
#include <string_view>

#include "http/HTTPSocket.h"
#include "platform/base/Arithmetic.h"
#include "platform/text/TextFunctions.h"

namespace vantorel {
namespace {

// Where the header block of a response ends: its length, and the length of the blank line that follows.
struct HeaderEnd {
  std::size_t block = 0;
  std::int32_t blank_line = 0;
};

// Looks for a blank line, of which the first `searched` bytes are known to hold none. False if there is none.
//
// A doubled line end of the text's own kind counts first, then LF LF, then CR LF CR LF, then CR CR. The kind
// need not be determined: a text without CR LF holds no doubled one, and one without LF holds CR CR alone, so
// all kinds come down to the same order. And while nothing was found, none of the three was there at all.
bool FindHeaderEnd(std::string_view text, std::size_t searched, HeaderEnd& end) {
  for (const std::string_view blank_line : {"\r\n\r\n", "\n\n", "\r\r"}) {
    const std::size_t overlap = std::min(searched, blank_line.size() - 1);
    const std::size_t found = text.find(blank_line, searched - overlap);
    if (found > std::numeric_limits<std::int32_t>::max()) continue;  // also when there is none
    end.block = found;
    end.blank_line = static_cast<std::int32_t>(blank_line.size());
    return true;
  }
  return false;
}

}  // namespace

void HTTPSocket::Event_Connected() {
  _connectionValid = true;
  _ResetVariables();
  if (!synchronous) Event_HTTPConnected();
  if (_httpAction.empty()) _httpAction = "GET";
  _SendRequest(_httpAction);
}

void HTTPSocket::Event_DataAvailable() {
  _HandleNewData();
}

void HTTPSocket::Event_SendComplete(bool /*userAborted*/) {}

void HTTPSocket::Event_Error() {
  const bool was_connected = _connectionValid;
  _connectionValid = false;
  if (!was_connected) {
    SetError(LastErrorCode());
  } else if (Lookahead().empty()) {
    _ProcessPage();
  } else {
    // The page does not end here: the next event of the socket tells what becomes of it.
    _HandleNewData();
  }
}

void HTTPSocket::_ResetVariables() {
  _pageBuffer = String();
  _pageHeaders = nil;
  _httpStatusCode = 0;
  _totalLength = 0;
  _currentLength = 0;
  _pageComplete = false;
  searched_to_ = 0;
}

void HTTPSocket::_HandleNewData() {
  // A handler that lets events run can lead here again; what has arrived then waits in the socket. An
  // exception out of a handler leaves the guard set: that object takes no more data.
  if (threadProtection) return;
  threadProtection = true;
  if (_pageHeaders) {
    _ProcessData(ReadAll());
  } else {
    ReceiveHeaders();
  }
  threadProtection = false;
}

void HTTPSocket::ReceiveHeaders() {
  HeaderEnd end;
  const std::size_t available = Lookahead().size();
  const std::uint64_t searched = searched_to_ > BytesTaken() ? searched_to_ - BytesTaken() : 0;
  if (!FindHeaderEnd(Lookahead().view(), std::min<std::size_t>(searched, available), end)) {
    searched_to_ = BytesTaken() + available;
    return;
  }
  _ParseHeaders(Read(static_cast<std::int32_t>(end.block)));
  if (_httpStatusCode == kUnauthorized && _SetAuthentication()) {
    _DoConnect(_processingURL, _httpAction, _downloadFile);
    return;
  }
  if (!synchronous) Event_HeadersReceived(Ref(_pageHeaders), _httpStatusCode);
  Read(end.blank_line);
  _ProcessData(ReadAll());
}

void HTTPSocket::_ParseHeaders(const String& block) {
  _pageHeaders = New<InternetHeaders>();
  const String eol = _pageHeaders->_DetermineEOLCharacter(block);
  const String status = NthField(NthField(block, eol, 1), " ", 2);
  _httpStatusCode = RuntimeCvtReal64ToSInt32(Val(status));
  _pageHeaders->_ParseHeaders(block);
  if (_pageHeaders->NameCount("Content-length") > 0) {
    _totalLength = RuntimeCvtReal64ToSInt32(Val(_pageHeaders->Value("Content-length")));
  }
}

void HTTPSocket::_ProcessData(const String& data) {
  if (SameText(_httpAction, "HEAD")) return;
  _currentLength = RuntimeCvtReal64ToSInt32(RuntimeCvtSInt32ToReal64(_currentLength) + LenB(data));
  if (_downloadStream) {
    _downloadStream->Write(data);
  } else {
    _pageBuffer += data;
  }
  if (!synchronous) Event_ReceiveProgress(_currentLength, _totalLength, data);
  if (_httpStatusCode == kUnauthorized && !IsConnected()) _ProcessPage();
}

void HTTPSocket::_ProcessPage() {
  if (_pageComplete) return;
  _pageComplete = true;
  const bool download = static_cast<bool>(_downloadStream);
  const Ref<FolderItem> file = _downloadFile;
  _KillDownloadStream();
  if (SameText(_httpAction, "HEAD") || synchronous) return;
  // Held here, since the handler may start the next request.
  const String url = _processingURL;
  const String page = _pageBuffer;
  const Ref<InternetHeaders> headers = _pageHeaders;
  if (download) {
    Event_DownloadComplete(url, _httpStatusCode, headers, file);
  } else {
    Event_PageReceived(url, _httpStatusCode, headers, page);
  }
}

}  // namespace vantorel
