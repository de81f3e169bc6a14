#include "launcher/Globals.h"

#include "launcher/BuildSettings.h"
#include "launcher/VantorelLauncher.h"
#include "platform/base/Exceptions.h"
#include "platform/run/Runtime.h"
#include "platform/run/System.h"
#include "tests/support/ScratchFolder.h"

namespace vantorel::testing {
namespace {

const std::string kWord = TargetMacBuild ? "mac" : "win";
const std::string kSentinel = kWord + "_00000000";
const std::string kTarget = TargetMacBuild ? "Vantorel.app" : "Vantorel";

// An empty application-data folder of its own, and the settings as they are once the application has opened.
class GlobalsTest : public ::testing::Test {
 protected:
  GlobalsTest() {
    setenv("XDG_DATA_HOME", data_.Path().c_str(), 1);
    Globals::Initialize();
    _RuntimeRegisterAppObject(New<VantorelLauncher>());
    App()->Event_Open();
  }
  ~GlobalsTest() override { RuntimeExit(); }

  const ScratchFolder data_;
};

TEST_F(GlobalsTest, TheVersionCountsOnlyTogetherWithTheTarget) {
  // nullptr: no such file
  enum Target { kMissing, kThere };
  const std::tuple<const char*, const char*, Target, std::string> cases[] = {
      {"nothing installed", nullptr, kMissing, kSentinel},
      {"a target of unknown version", nullptr, kThere, kSentinel},
      {"a version without its target", "mac_17", kMissing, kSentinel},
      {"an underscore cuts the version", "mac_17_beta", kThere, "17"},
      {"no platform word", "17", kThere, ""},
      {"empty", "", kThere, ""},
      {"a line end belongs to the version", "mac_17\n", kThere, "17\n"},
      {"another platform's record", "win_17", kThere, "17"},
  };
  for (const auto& [name, version, target, result] : cases) {
    data_.Run("rm -rf Vantorel; mkdir Vantorel");
    if (version != nullptr) data_.Write("Vantorel/version", version);
    if (target == kThere) data_.Item("Vantorel/" + kTarget)->CreateAsFolder();
    EXPECT_EQ(Globals::CheckApplicationVersion().view(), result) << name;
  }
}

TEST_F(GlobalsTest, HandingOverLeavesWordForTheTarget) {
  const char* argv[] = {"launcher", "/Games.application/Launcher.app/x", "-y"};
  System::KeepCommandLine(3, argv);
  for (const char* checkfile : {"check", "kept"}) {
    EXPECT_THROW(Globals::RunApplication(), EndException);
    EXPECT_EQ(data_.Read("Vantorel/checkfile"), checkfile);
    EXPECT_EQ(data_.Read("Vantorel/updatepath"),
              System::ExecutablePath() +
                  (TargetMacBuild ? " /Games.app" : " /Games.application/Launcher.app/x -y"));
    data_.Write("Vantorel/checkfile", "kept");
    data_.Write("Vantorel/updatepath", std::string(1000, 'x'));
  }
}

TEST_F(GlobalsTest, TheCommandIsThatOfItsPlatform) {
  const std::string folder = data_.Path("Vantorel");
  EXPECT_EQ(Globals::TargetCommand().view(),
            TargetMacBuild ? "open " + folder + "/Vantorel.app" : folder + "\\Vantorel\\Vantorel.exe ");
}

}  // namespace
}  // namespace vantorel::testing
