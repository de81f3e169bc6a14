// Other programs read what is written here.
#include "platform/files/ResourceFork.h"
#include "tests/zip/write/WriteSupport.h"

namespace vantorel::testing {
namespace {

TEST(Peers, ReadWhatIsMadeAndEdited) {
  const ScratchFolder scratch;
  scratch.Run(
      "mkdir -p t/ä/日本 t/🎈; echo x > t/ä/日本/x; chmod 751 t/ä/日本/x; touch -d @1700000000 t/ä/日本/x;"
      "cp /bin/sh t/🎈; : > t/empty");
  std::int32_t error = 0;
  EXPECT_EQ(
      ResourceFork::Open(scratch.Item("t/empty"), ResourceFork::Access::kReadWrite, error)->Write("fork"), 0);
  const auto names = [&] {
    scratch.Run("unzip -tq a.zip && 7zz t a.zip && bsdtar -xOf a.zip > all && lsar -t a.zip");
    // Names are UTF-8 without a flag that says so, which python takes for the DOS encoding.
    return scratch.Run(
        "python3 -c 'import zipfile; z = zipfile.ZipFile(\"a.zip\"); assert z.testzip() is None;"
        "print(*(n.encode(\"cp437\").decode() for n in z.namelist()))'");
  };
  auto archive = Open(scratch);
  archive->PreserveUnixPermissions(true);
  EXPECT_GE(archive->AddItemToRoot(scratch.Item("t"), 0), 1);
  EXPECT_TRUE(archive->AddFolderContents(scratch.Item("t"), "t", 0, false));
  EXPECT_TRUE(archive->AddFolderContents(scratch.Item("t"), "mac", 1, false));
  archive->SetComment("comment");
  EXPECT_TRUE(archive->Close());
  EXPECT_EQ(names(), "t/ t/empty t/ä/日本/x t/🎈/sh mac/empty mac/ä/日本/x mac/🎈/sh\n");
  EXPECT_EQ(scratch.Run("rm -rf out; unzip -q a.zip 't/ä/*' -d out; cd out/t/ä/日本; stat -c '%a %Y' x"),
            scratch.Run("cd t/ä/日本; stat -c '%a %Y' x"));
  EXPECT_NE(scratch.Run("lsar -L a.zip").find("Is a Mac OS resource fork: Yes"), std::string::npos);

  archive = Open(scratch);
  EXPECT_TRUE(archive->RemoveEntry(4) && archive->RemoveEntry(1) && archive->Compact());
  Add(*archive, "new", Noise(100000));
  EXPECT_TRUE(archive->Close());
  EXPECT_EQ(names(), "t/empty t/ä/日本/x mac/empty mac/ä/日本/x mac/🎈/sh new\n");
}

}  // namespace
}  // namespace vantorel::testing
