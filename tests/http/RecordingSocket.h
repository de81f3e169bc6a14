// An HTTPSocket that writes down its events, each ended by "|".
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <utility>

#include "http/HTTPSocket.h"

namespace vantorel::testing {

class RecordingSocket : public HTTPSocket {
 public:
  // C connected; A challenge; H status, headers "X"; received/total data; P status page; D status file
  // length; E code.
  std::string log;
  // How often data has arrived.
  int arrivals = 0;
  // Answers AuthenticationRequired that often with user:word.
  int answers_to_401 = 0;
  // Runs in the next ReceiveProgress.
  std::function<void()> on_progress;
  // Runs at the beginning of the next PageReceived.
  std::function<void()> on_page;

  // Lets events arrive until the condition holds. False if it does not come to hold.
  bool PollUntil(const std::function<bool()>& condition) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
      if (std::chrono::steady_clock::now() > limit) return false;
      Poll();
    }
    return true;
  }

  void Event_DataAvailable() override {
    ++arrivals;
    HTTPSocket::Event_DataAvailable();
  }

 protected:
  void Event_HTTPConnected() override { log += "C|"; }
  bool Event_AuthenticationRequired(const Ref<InternetHeaders>& headers, String& name,
                                    String& password) override {
    log += "A " + Text(headers->Value("WWW-Authenticate")) + "|";
    name = "user";
    password = "word";
    return answers_to_401-- > 0;
  }
  void Event_HeadersReceived(const Ref<InternetHeaders>& headers, std::int32_t status) override {
    log += "H" + std::to_string(status) + " " + Text(headers->CommaSeparatedValues("X")) + "|";
  }
  void Event_ReceiveProgress(std::int32_t received, std::int32_t total, const String& data) override {
    log += std::to_string(received) + "/" + std::to_string(total) + " " + Text(data) + "|";
    if (const auto run = std::exchange(on_progress, nullptr)) run();
  }
  void Event_PageReceived(const String& /*url*/, std::int32_t status, const Ref<InternetHeaders>& headers,
                          const String& content) override {
    if (const auto run = std::exchange(on_page, nullptr)) run();
    log += "P" + std::to_string(status) + (headers ? " " : " no headers ") + Text(content) + "|";
  }
  void Event_DownloadComplete(const String& /*url*/, std::int32_t status,
                              const Ref<InternetHeaders>& /*headers*/, const Ref<FolderItem>& file) override {
    log += "D" + std::to_string(status) + " " + std::to_string(file->Length()) + "|";
  }
  void Event_HTTPError(std::int32_t code) override { log += "E" + std::to_string(code) + "|"; }

 private:
  static std::string Text(const String& text) { return std::string(text.view()); }
};

}  // namespace vantorel::testing
