// A monitor that keeps what it is told of a member's progress.
#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "zip/archive/ZipEntry.h"
#include "zip/archive/ZipProgressNotifier.h"

namespace vantorel::testing {

struct RecordingMonitor : ZipProgressNotifier {
  void EntryProgress(const Ref<ZipEntry>& entry, std::int32_t total, std::int32_t done,
                     bool& abort) override {
    EXPECT_EQ(entry->Size(), total);
    progress.push_back(done);
    abort = done >= abort_at;
  }
  void ItemFailed(const Ref<FolderItem>&, std::int32_t, const String&, bool&) override {}
  void ItemStarting(const Ref<FolderItem>&, bool&) override {}

  std::vector<std::int32_t> progress;
  std::int32_t abort_at = INT32_MAX;
};

}  // namespace vantorel::testing
