// The three forms of a member's name: as stored, as text, and split into components.
#include "platform/text/TextFunctions.h"
#include "zip/archive/CarriedName.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel {

namespace {

// The test for the word minds case, other than the one for the same word when companions are folded.
bool HasCompanionForm(const ZipPath& path) {
  return path.Leaf().view().starts_with("._") || (!path.empty() && (*path.begin()).view() == "__MACOSX");
}

}  // namespace

void ZipEntry::GetPath(std::vector<String>& result) {
  result.clear();
  for (const String& component : path) result.push_back(component);
}

bool ZipEntry::SameRawPath(const String& raw_path) {
  return SameText(d->encodeForZip(raw_path), zipEncName);
}

void ZipEntry::z_checkRawPath() {
  path = ZipPath(sysEncName);
  isFolder = sysEncName.view().ends_with('/');
  // A name that was carried over from the record before is not looked through again, however long it is.
  const Ref<ZipEntry> before = d->entries_1.empty() ? nil : d->entries_1.back();
  const bool known = before && before.get() != this && IsCarriedOver(sysEncName, before->sysEncName);
  if (known ? before->z_hasDittoName : HasCompanionForm(path)) z_hasDittoName = true;
}

}  // namespace vantorel
