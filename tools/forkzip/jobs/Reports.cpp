#include "tools/forkzip/jobs/Reports.h"

#include <array>
#include <cstring>

#include "platform/files/FileCalls.h"
#include "tools/forkzip/cli/Interruption.h"

namespace vantorel::forkzip {

void WriteReport(int pipe, Report report, std::string_view member, std::string_view message) {
  report.member_size = static_cast<std::uint32_t>(member.size());
  report.message_size = static_cast<std::uint32_t>(message.size());
  std::array<char, sizeof report> head{};
  std::memcpy(head.data(), &report, sizeof report);
  std::string bytes(head.data(), head.size());
  bytes.append(member).append(message);
  if (WriteAll(pipe, bytes) != 0) throw Interrupted();
}

void TakeReports(std::string& bytes, const std::function<void(const Report& report, std::string_view member,
                                                              std::string_view message)>& take) {
  std::string_view rest = bytes;
  Report report{};
  while (rest.size() >= sizeof report) {
    std::memcpy(&report, rest.data(), sizeof report);
    const std::size_t size = sizeof report + report.member_size + report.message_size;
    if (rest.size() < size) break;
    const std::string_view texts = rest.substr(sizeof report, size - sizeof report);
    take(report, texts.substr(0, report.member_size), texts.substr(report.member_size));
    rest.remove_prefix(size);
  }
  bytes.erase(0, bytes.size() - rest.size());
}

}  // namespace vantorel::forkzip
