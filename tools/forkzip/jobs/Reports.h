// What a working process says to the one that shares out the work, through a pipe.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "tools/forkzip/cli/Problems.h"

namespace vantorel::forkzip {

struct Report {
  enum class Kind : std::uint32_t {
    kTold,       // something about the unit `index`
    kShareDone,  // the share `index`, with `count` as its tally
    kFault,      // what ends the work
  };

  Kind kind;
  ExitCode code = ExitCode::kDone;
  std::uint32_t index = 0;
  std::uint32_t member_size = 0;  // of the two texts that follow
  std::uint32_t message_size = 0;
  std::uint64_t count = 0;
};

// Raises Interrupted if nobody listens any more.
void WriteReport(int pipe, Report report, std::string_view member = {}, std::string_view message = {});

// Hands over the reports that are whole in `bytes`, and takes them out.
void TakeReports(
    std::string& bytes,
    const std::function<void(const Report& report, std::string_view member, std::string_view message)>& take);

}  // namespace vantorel::forkzip
