// Opening an archive of as many members as the format allows: none of them companions, or half of them.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/ZipBytes.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel {
namespace {

constexpr int kMembers = 65535;

std::string MemberName(int i) {
  return "folder" + std::to_string(i % 100) + "/member" + std::to_string(i);
}

std::vector<testing::ZipMember> Members(bool companions) {
  std::vector<testing::ZipMember> members;
  members.reserve(kMembers);
  for (int i = 0; i < kMembers; ++i) {
    testing::ZipMember m;
    if (companions && i % 2 == 1) {
      std::string name = MemberName(i - 1);
      m.name = "__MACOSX/" + name.insert(name.find('/') + 1, "._");
    } else {
      m.name = MemberName(i);
    }
    m.central_extra = testing::UnixExtra(1, 2);
    members.push_back(m);
  }
  return members;
}

void OpenArchive(benchmark::State& state, bool companions) {
  const std::filesystem::path path = std::filesystem::temp_directory_path() / "vantorel-open-archive.zip";
  std::ofstream(path, std::ios::binary) << testing::MakeZip(Members(companions));
  const Ref<FolderItem> file = GetFolderItem(String::Bytes(path.string()));
  for ([[maybe_unused]] auto _ : state) {
    const Ref<ZipArchive> archive = New<ZipArchive>();
    if (!archive->Open(file, false)) state.SkipWithError("the archive does not open");
    benchmark::DoNotOptimize(archive->EntryCount());
  }
  state.counters["members/s"] = benchmark::Counter(kMembers, benchmark::Counter::kIsIterationInvariantRate);
  std::filesystem::remove(path);
}

BENCHMARK_CAPTURE(OpenArchive, no_companions, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(OpenArchive, half_companions, true)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vantorel

BENCHMARK_MAIN();
