#include "platform/files/FolderItem.h"

#include <sys/stat.h>

#include "platform/text/TextFunctions.h"
#include "tests/support/ScratchFolder.h"

namespace vantorel::testing {
namespace {

// The names in a folder, each in front of "|".
std::string Names(const Ref<FolderItem>& folder) {
  std::string names;
  for (std::int32_t i = 1; const Ref<FolderItem> item = folder->TrueItem(i); ++i) {
    names += std::string(item->Name().view()) + "|";
  }
  return names;
}

TEST(FolderItem, Paths) {
  const ScratchFolder scratch;
  const Ref<FolderItem> folder = scratch.Item();
  EXPECT_EQ(GetFolderItem("/a//./b/")->Path(), "/a/b");
  EXPECT_EQ(GetFolderItem("/")->Parent(), nil);
  EXPECT_EQ(GetFolderItem("a")->Parent()->Path(), GetFolderItem(".")->Path());
  EXPECT_EQ(GetFolderItem(""), nil);
  for (const char* name : {"", ".", "..", "a/b", "/"}) EXPECT_EQ(folder->TrueChild(name), nil) << name;
  EXPECT_EQ(folder->TrueChild(String::Bytes({"a\0b", 3})), nil);
  EXPECT_EQ(folder->TrueChild(DefineEncoding("\xFC", Encodings::WindowsANSI()))->Name().view(), "\xC3\xBC");
  const Ref<FolderItem> item = scratch.Write("a 'b' \"$(c)\"\\\n*", "found");
  EXPECT_EQ(scratch.Run("cat " + std::string(item->ShellPath().view())), "found") << "one word of the shell";
}

TEST(FolderItem, LinksAreFollowedOnlyWhereTheNameSaysSo) {
  const ScratchFolder scratch;
  scratch.Write("file", "content");
  scratch.Run("ln -s file link; ln -s gone dangling; ln -s loop loop");
  const Ref<FolderItem> folder = scratch.Item();
  EXPECT_EQ(folder->Child("link")->Name().view(), "file");
  EXPECT_TRUE(folder->TrueChild("dangling")->Exists());
  EXPECT_TRUE(folder->Child("loop")->Alias());
  folder->TrueChild("link")->SetModificationDate(Date::FromUnixTime(0));
  EXPECT_NE(folder->TrueChild("file")->ModificationDate()->UnixTime(), 0);
  folder->TrueChild("link")->Delete();
  EXPECT_TRUE(scratch.Has("file"));
}

TEST(FolderItem, OpeningMakingAndRenaming) {
  const ScratchFolder scratch;
  const Ref<FolderItem> item = scratch.Item("new");
  EXPECT_EQ(item->OpenAsBinaryFile(true), nil);
  item->CreateBinaryFile("application/zip")->Write("longer than what follows");
  EXPECT_EQ(item->Length(), 24U);
  EXPECT_EQ(item->CreateBinaryFile(""), nil) << "a file that is there is taken for a new one";
  const Ref<TextOutputStream> text = item->CreateTextFile();
  text->Write("mac_1.5");
  text->Close();
  EXPECT_EQ(item->OpenAsTextFile()->ReadAll(Encodings::UTF8()).view(), "mac_1.5");

  scratch.Run("mkdir folder; mkfifo pipe; echo y > taken");
  for (const char* name : {"folder", "pipe", "new/below"}) {
    EXPECT_EQ(scratch.Item(name)->OpenAsBinaryFile(false), nil) << name;
    EXPECT_EQ(scratch.Item(name)->OpenAsTextFile(), nil) << name;
    EXPECT_EQ(scratch.Item(name)->CreateTextFile(), nil) << name;
  }
  for (const char* name : {"taken", "", "a/b", ".."}) {
    item->SetName(name);
    EXPECT_EQ(item->Name().view(), "new") << name;
  }
  EXPECT_EQ(scratch.Read("taken"), "y\n");
}

TEST(FolderItem, ModesAndLocks) {
  const ScratchFolder scratch;
  const Ref<FolderItem> item = scratch.Write("file", "");
  std::uint16_t mode = 0;
  EXPECT_TRUE(item->SetUnixMode(0100754) == 0 && !item->Locked());
  item->SetLocked(true);
  EXPECT_TRUE(item->GetUnixMode(mode) == 0 && item->Locked());
  EXPECT_EQ(mode, 0100554);
  EXPECT_EQ(scratch.Item("absent")->GetUnixMode(mode), -ENOENT);
}

TEST(FolderItem, ListingIsInByteOrderAndReadAnewFromTheFirst) {
  const ScratchFolder scratch;
  const Ref<FolderItem> folder = scratch.Item();
  EXPECT_EQ(Names(folder), "");
  for (const char* name : {"b", "A", "a", "\xFF", ".dot", "._alone", "._b"}) scratch.Write(name, "");
  EXPECT_EQ(Names(folder), "._alone|._b|.dot|A|a|b|\xFF|") << "an ordinary file is not hidden for its name";
  EXPECT_EQ(folder->TrueItem(0), nil);
}

TEST(FolderItem, ApplicationDataIsInTheHomeFolderWhereTheEnvironmentNamesNoOther) {
  const ScratchFolder scratch;
  setenv("XDG_DATA_HOME", "relative", 1);
  setenv("HOME", scratch.Path("home").c_str(), 1);
  EXPECT_EQ(SpecialFolder::ApplicationData()->Path(), scratch.Path("home/.local/share"));
}

}  // namespace
}  // namespace vantorel::testing
