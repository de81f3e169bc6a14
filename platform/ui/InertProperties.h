// What the layouts say and what has no effect here: neither window can be resized, closed by its frame or
// filled with a menu, and the one field only shows text. Kept as data, so that a layout can be held against
// its description.
#pragma once

#include <cstdint>

namespace vantorel {

struct InertWindowProperties {
  std::int32_t MinWidth = 64;
  std::int32_t MinHeight = 64;
  std::int32_t MaxWidth = 32000;
  std::int32_t MaxHeight = 32000;
  bool Composite = false;
  bool FullScreen = false;
  bool MenuBarVisible = true;
  bool CloseButton = false;
  bool Resizeable = false;
  bool LiveResize = false;
  bool MaximizeButton = false;
  bool MinimizeButton = false;
};

struct InertControlProperties {
  bool LockLeft = false;
  bool LockTop = false;
  bool LockRight = false;
  bool LockBottom = false;
};

struct InertLabelProperties {
  std::int32_t TextAlign = 0;  // left
};

struct InertFieldProperties {
  std::int32_t Alignment = 0;  // left
  bool Multiline = false;
  bool Styled = false;
  bool Password = false;
  bool UseFocusRing = true;
  bool ReadOnly = true;
  bool AcceptTabs = false;
  std::int32_t LimitText = 0;
};

}  // namespace vantorel
