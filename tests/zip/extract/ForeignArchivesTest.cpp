// Archives that other programs made come out as what went in.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/ScratchFolder.h"
#include "zip/archive/ZipExtractor.h"

namespace vantorel {
namespace {

using testing::ScratchFolder;

constexpr const char* kMakeTree = R"(mkdir -p in/sub/deep && cd in
seq 1 200000 > large.txt
head -c 100000 /dev/urandom > random.bin
: > empty
printf '#!/bin/sh\n' > sub/run.sh
printf x > 'sub/deep/Grün & "quoted".txt'
chmod 755 sub/run.sh; chmod 640 random.bin; chmod 400 empty
find . -type f -exec touch -d '2021-03-04 05:06:08' {} +
touch -d '1999-12-31 23:59:58' large.txt)";

class ForeignArchives : public ::testing::TestWithParam<const char*> {};

TEST_P(ForeignArchives, ContentsModesAndDatesArrive) {
  const ScratchFolder folder;
  folder.Run(kMakeTree);
  folder.Run(std::string("cd in && ") + GetParam());
  const auto extractor = New<ZipExtractor>();
  EXPECT_TRUE(extractor->ExtractAllSilently(folder.Item("a.zip"), folder.Item("out")))
      << extractor->LastErrMsg().view();
  folder.Run("diff -r in out");
  const std::string facts = "find . -type f -exec stat -c '%n %a %s %Y' {} + | sort";
  EXPECT_EQ(folder.Run("cd out && " + facts), folder.Run("cd in && " + facts));
}

INSTANTIATE_TEST_SUITE_P(Makers, ForeignArchives,
                         ::testing::Values("zip -qr ../a.zip .", "zip -qr0 ../a.zip .",
                                           "zip -qr - . | cat > ../a.zip",
                                           "7zz a -tzip ../a.zip . > /dev/null",
                                           "bsdtar --format zip -cf ../a.zip *",
                                           "python3 -m zipfile -c ../a.zip *"));

}  // namespace
}  // namespace vantorel
