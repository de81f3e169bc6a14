#include "tools/forkzip/read/MemberOutput.h"

#include <optional>
#include <string>

#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/read/ByteSinks.h"
#include "tools/forkzip/read/MemberFacts.h"
#include "tools/forkzip/read/Verification.h"

namespace vantorel::forkzip {

namespace {

class OutputSink : public SummingSink {
 public:
  explicit OutputSink(Output& output) : output_(output) {}
  bool Write(const String& data) override {
    output_.Write(data.view());
    return SummingSink::Write(data);
  }

 private:
  Output& output_;
};

}  // namespace

void WriteMember(const Ref<ZipEntry>& entry, bool raw, Output& output, Problems& problems) {
  const std::string name = Utf8(entry->RawPath());
  if (const std::string why = WhyNotUnpacked(entry); !why.empty()) {
    return problems.Add(ExitCode::kBadArchive, name, why);
  }
  const auto sink = New<OutputSink>(output);
  Ref<MemoryBlock> header_block;
  const bool good = entry->Extract(!raw, sink, nil, header_block);
  output.Flush();
  try {
    const bool unwrapped = header_block && !entry->appleDoubleEntry;
    CheckStreamed(entry, good, unwrapped ? std::nullopt : std::optional(sink->Crc()));
  } catch (const Failure& failure) {
    problems.Add(failure.Code(), name, failure.what());
  }
}

}  // namespace vantorel::forkzip
