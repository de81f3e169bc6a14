// Resource forks as whole texts.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "platform/files/FolderItem.h"
#include "platform/files/ResourceFork.h"

namespace vantorel::testing {

// Replaces the fork of an item, which it gives back.
inline Ref<FolderItem> WithFork(const Ref<FolderItem>& item, const std::string& bytes) {
  std::int32_t error = -1;
  const Ref<ResourceFork> fork = ResourceFork::Open(item, ResourceFork::Access::kReadWrite, error);
  EXPECT_TRUE(fork && fork->SetEOF(0) == 0 && fork->Write(bytes) == 0 && fork->Close() == 0) << error;
  return item;
}
inline std::string ForkOf(const Ref<FolderItem>& item) {
  std::int32_t error = -1;
  const Ref<ResourceFork> fork = ResourceFork::Open(item, ResourceFork::Access::kRead, error);
  std::string bytes;
  if (fork) fork->Read(0x7FFFFFFF, bytes);
  return fork ? bytes : "error " + std::to_string(error);
}

}  // namespace vantorel::testing
