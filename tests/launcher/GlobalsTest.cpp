#include "launcher/Globals.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "launcher/BuildSettings.h"
#include "launcher/VantorelLauncher.h"
#include "platform/base/Exceptions.h"
#include "platform/base/Failures.h"
#include "platform/run/Runtime.h"
#include "platform/run/System.h"

namespace vantorel {
namespace {

namespace fs = std::filesystem;

const std::string kWord = TargetMacBuild ? "mac" : "win";
const std::string kSentinel = kWord + "_00000000";
const std::string kTarget = TargetMacBuild ? "Vantorel.app" : "Vantorel";

std::string Text(const String& text) {
  return std::string(text.view());
}

// An empty application-data folder of its own, and the settings as they are once the application has opened.
class GlobalsTest : public testing::Test {
 protected:
  GlobalsTest() {
    char name[] = "/tmp/vantorel-globals-XXXXXX";
    home_ = mkdtemp(name);
    UseDataFolder(home_ / "data");
    Globals::Initialize();
    _RuntimeRegisterAppObject(New<VantorelLauncher>());
    App()->Event_Open();
  }
  ~GlobalsTest() override {
    RuntimeExit();
    fs::remove_all(home_);
  }

  void UseDataFolder(const fs::path& path) {
    setenv("XDG_DATA_HOME", path.c_str(), 1);
    folder_ = path / "Vantorel";
  }
  void Put(const std::string& name, const std::string& text) const {
    fs::create_directories((folder_ / name).parent_path());
    std::ofstream(folder_ / name) << text;
  }
  std::string Contents(const std::string& name) const {
    std::ifstream file(folder_ / name);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  fs::path home_;
  fs::path folder_;
};

TEST_F(GlobalsTest, SettingsAreSettledByTheOpenEvent) {
  Globals::Finalize();
  Globals::Initialize();
  EXPECT_EQ(
      Text(Globals::TargetApplication + "," + Globals::UpdateServer + "," + Globals::ApplicationParameter),
      std::string("Vantorel,") + kFirstUpdateServer + ",-auc");
  EXPECT_EQ(Text(Globals::CurrentOS + Globals::newVersion), "");
  App()->Event_Open();
  EXPECT_EQ(Text(Globals::ResourceURL("_version")), kUpdateServer + kWord + "_Vantorel_version");
}

TEST_F(GlobalsTest, TheVersionCountsOnlyTogetherWithTheTarget) {
  struct Case {
    const char* name;
    const char* version;  // nullptr: no such file
    bool target;
    std::string result;
  };
  const Case cases[] = {
      {"nothing installed", nullptr, false, kSentinel},
      {"a target of unknown version", nullptr, true, kSentinel},
      {"a version without its target", "mac_17", false, kSentinel},
      {"installed", "mac_17", true, "17"},
      {"an underscore cuts the version", "mac_17_beta", true, "17"},
      {"no platform word", "17", true, ""},
      {"empty", "", true, ""},
      {"a line end belongs to the version", "mac_17\n", true, "17\n"},
      {"another platform's record", "win_17", true, "17"},
  };
  for (const Case& one : cases) {
    fs::remove_all(folder_);
    if (one.version != nullptr) Put("version", one.version);
    if (one.target) fs::create_directories(folder_ / kTarget);
    EXPECT_EQ(Text(Globals::CheckApplicationVersion()), one.result) << one.name;
    EXPECT_TRUE(fs::is_directory(folder_)) << one.name;
  }
}

TEST_F(GlobalsTest, RecordsAVersionExactly) {
  for (const char* version : {"17", "2024.12-rc1 with more text", "17\r\n", ""}) {
    Globals::UpdateApplicationVersion(version);
    EXPECT_EQ(Contents("version"), kWord + "_" + version);
  }
}

TEST_F(GlobalsTest, AFolderOrFileThatCannotBeHadIsAFaultWithItsReason) {
  struct Case {
    const char* name;
    std::function<void()> arrange;
    std::function<void()> act;
    std::string reason;
  };
  const auto check = [] { Globals::CheckApplicationVersion(); };
  const auto update = [] { Globals::UpdateApplicationVersion("17"); };
  const Case cases[] = {
      {"no data folder", [&] { UseDataFolder("/dev/null/data"); }, check,
       "make the folder /dev/null/data: Not a directory"},
      {"no launcher folder", [&] { UseDataFolder("/proc"); }, update,
       "make the folder /proc/Vantorel: No such file"},
      {"an unreadable version", [&] { fs::create_directories(folder_ / "version"); }, check,
       "/version: Is a directory"},
      {"an unwritable version", [&] { Put("version/in the way", ""); }, update, "/version: Is a directory"},
  };
  for (const Case& one : cases) {
    UseDataFolder(home_ / "data");
    fs::remove_all(folder_);
    one.arrange();
    EXPECT_THROW(one.act(), NilObjectException) << one.name;
    std::string reasons;
    for (const std::string& failure : RecentFailures()) reasons += failure + "\n";
    EXPECT_NE(reasons.find(one.reason), std::string::npos) << one.name << ": " << reasons;
  }
}

TEST_F(GlobalsTest, RunApplicationLeavesWordForTheTargetAndStartsIt) {
  UseDataFolder(home_ / "data 'with' $signs");  // the shell must not see them
  const char* argv[] = {"launcher", "/Games.application/Launcher.app/x", "-y"};
  System::KeepCommandLine(3, argv);
  const std::string started = (home_ / "started").string();
  if (TargetMacBuild) {
    Put("Vantorel.app/Contents/MacOS/Vantorel", "#!/bin/sh\necho run >> " + started + "\n");
    fs::permissions(folder_ / "Vantorel.app/Contents/MacOS/Vantorel", fs::perms::owner_all);
  }
  for (int run = 0; run < 2; ++run) {
    const auto before = std::chrono::steady_clock::now();
    try {
      Globals::RunApplication();
    } catch (const EndException& end) {
      EXPECT_EQ(end.ExitCode(), 0);
    }
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::seconds(1));
    // What is there stays there; what is stale is written anew.
    EXPECT_EQ(Contents("checkfile"), run == 0 ? "check" : "kept");
    const std::string own = System::ExecutablePath();
    EXPECT_EQ(Contents("updatepath"),
              own + (TargetMacBuild ? " /Games.app" : " /Games.application/Launcher.app/x -y"));
    Put("checkfile", "kept");
    Put("updatepath",
        "something much longer than what will be written there, so that a remainder would show" + own);
  }
  while (TargetMacBuild && (!fs::exists(started) || fs::file_size(started) < 8)) usleep(1000);
}

TEST_F(GlobalsTest, TheCommandIsThatOfItsPlatform) {
  const std::string folder = folder_.string();
  EXPECT_EQ(Text(Globals::TargetCommand()),
            TargetMacBuild ? "open " + folder + "/Vantorel.app" : folder + "\\Vantorel\\Vantorel.exe ");
}

}  // namespace
}  // namespace vantorel
