// The three forms of a member's name: as stored, as text, and split into components.
#include "platform/text/TextFunctions.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel {

namespace {

// Byte by byte and minding case, other than the test for the same word when companions are folded.
bool IsMacosxFolder(const String& component) {
  static const String word("__MACOSX");
  return StrComp(word, component, 0) == 0;
}

bool BeginsLikeCompanion(const String& leaf) {
  static const String mark("._");
  return SameText(Left(leaf, 2), mark);
}

}  // namespace

String ZipEntry::RawPath() {
  return sysEncName;
}

String ZipEntry::Name() {
  return path.back();
}

void ZipEntry::GetPath(std::vector<String>& result) {
  result.clear();
  result.reserve(path.size());
  for (const String& component : path) result.push_back(component);
}

String ZipEntry::z_origEncodedName() {
  return zipEncName;
}

String ZipEntry::z_origEncodedComment() {
  return zipEncComment;
}

bool ZipEntry::SameRawPath(const String& raw_path) {
  return SameText(d->encodeForZip(raw_path), zipEncName);
}

void ZipEntry::z_checkRawPath() {
  path = d->PathOf(sysEncName);
  isFolder = sysEncName.view().ends_with('/');
  if (BeginsLikeCompanion(path.Leaf()) || (!path.empty() && IsMacosxFolder(path[0]))) z_hasDittoName = true;
}

}  // namespace vantorel
