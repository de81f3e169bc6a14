// The download of a new version and its installation. Trusting by design: any download that has ended is
// taken for a good one, whatever its status, and what the extraction says is not looked at. A download that
// never ends, or never begins, leaves the splash as it is.
#pragma once

#include <cstdint>

#include "http/HTTPSocket.h"

namespace vantorel {

class updateSocket : public HTTPSocket {
 protected:
  // Shows the progress on the splash.
  void Event_ReceiveProgress(std::int32_t bytesReceived, std::int32_t totalBytes,
                             const String& newData) override;
  // Replaces the old target by what the archive holds, records the version and lets Timer2 start the target;
  // that also if something could not be had.
  void Event_DownloadComplete(const String& url, std::int32_t httpStatus, const Ref<InternetHeaders>& headers,
                              const Ref<FolderItem>& file) override;
};

}  // namespace vantorel
