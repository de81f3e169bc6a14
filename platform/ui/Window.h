// A window and the controls in it. A class of windows derives from this one, lays itself out in its
// constructor and is reached through ImplicitWindow: there is one instance of each class, made on first use
// and kept by this layer until it is closed.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/base/Ref.h"
#include "platform/text/String.h"
#include "platform/ui/BackEnd.h"
#include "platform/ui/Picture.h"
#include "platform/ui/RectControl.h"

namespace vantorel {

class Window : public Object {
 public:
  // Values of Placement.
  static constexpr std::int32_t kPlacedOverParent = 1;
  static constexpr std::int32_t kPlacedOnMainScreen = 2;
  // Values of Frame.
  static constexpr std::int32_t kFrameTitled = 0;
  static constexpr std::int32_t kFramePlainBox = 4;

  // Layout, set before the window opens. Sizes are logical pixels of the content.
  std::int32_t Placement = kPlacedOnMainScreen;
  std::int32_t Width = 0;
  std::int32_t Height = 0;
  std::int32_t Frame = kFrameTitled;
  bool HasBackColor = false;
  Color BackColor = 0xffffff;
  bool Visible = true;
  // Said by the layouts, and without effect here: no window can be resized, closed by its frame or filled
  // with a menu. Kept so that a layout can be held against its description; likewise in the controls.
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

  String Title() const { return title_; }
  void SetTitle(const String& title) { Change(title_, title); }
  // Drawn under the controls from the top left corner, unscaled. nil: the window's colour alone.
  Ref<Picture> Backdrop() const { return backdrop_; }
  void SetBackdrop(const Ref<Picture>& picture) { Change(backdrop_, picture); }

  // Makes the window known, raises Open, and lets a window with `Visible` appear at the next turn of the
  // event loop, so that whoever opened it can still fill it or show it modally. ImplicitWindow calls it once.
  void Open();
  // Shows the window, which must be open, and returns when it has been closed; handlers run meanwhile.
  void ShowModal();
  // Takes the window off the screen and drops this layer's reference to it.
  void Close();
  bool IsOpen() const { return view_ != nullptr; }

  // Makes an object that lives as long as the window, also when nobody else holds it.
  template <typename T, typename... Args>
  Ref<T> __New(Args&&... args) {
    Ref<T> object = New<T>(std::forward<Args>(args)...);
    allocated_.push_back(object);
    return object;
  }

 protected:
  // `name` is the name of the derived class.
  explicit Window(std::string name) : name_(std::move(name)) {}

  // Puts a control (a RectControl or a Timer) into the window under that name.
  template <typename T>
  Ref<T> _AddControl(const String& name, const Ref<T>& control) {
    controls_.push_back({name, control});
    return control;
  }

  virtual void Event_Open() {}

 private:
  friend Ref<Window> _GetImplicitWindow(const std::string& name);
  friend Ref<Object> RuntimeWindowControlByName(const Ref<Window>& window, const String& name);

  struct NamedControl {
    String name;
    Ref<Object> control;
  };

  template <typename T>
  void Change(T& property, const T& value) {
    property = value;
    if (view_ != nullptr) view_->Update();
  }
  void ShowOnce(bool modal);

  std::string name_;
  String title_;
  Ref<Picture> backdrop_;
  std::vector<NamedControl> controls_;
  std::vector<Ref<Object>> allocated_;
  std::unique_ptr<WindowView> view_;
  bool shown_ = false;
};

// The open window of the class of that name, or nil.
Ref<Window> _GetImplicitWindow(const std::string& name);

// The open instance of the window class `T`, whose name is `name`; made and opened if there is none.
template <typename T>
Ref<T> ImplicitWindow(const std::string& name) {
  if (const Ref<Window> existing = _GetImplicitWindow(name)) return Cast<T>(existing);
  Ref<T> window = New<T>();
  window->Open();
  return window;
}

// The control of that name, or nil.
Ref<Object> RuntimeWindowControlByName(const Ref<Window>& window, const String& name);

// The control of that name if it is of class `T`, or nil.
template <typename T>
Ref<T> ControlByName(const Ref<Window>& window, const String& name) {
  return Cast<T>(RuntimeWindowControlByName(window, name));
}

// Closes every window, at the end of the program: none of its views outlives the back end.
void CloseAllWindows();

}  // namespace vantorel
