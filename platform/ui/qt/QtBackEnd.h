// The back end over Qt 6 Widgets.
#pragma once

#include <QApplication>
#include <QPointer>
#include <QSocketNotifier>
#include <memory>
#include <vector>

#include "platform/run/BackgroundTask.h"
#include "platform/run/EventLoop.h"
#include "platform/ui/BackEnd.h"

namespace vantorel {

class QtBackEnd : public BackEnd, private LoopWaiter, private Repainter, private QObject {
 public:
  QtBackEnd();
  ~QtBackEnd() override;

  std::unique_ptr<WindowView> Open(Window& window) override;
  std::unique_ptr<View> ShowMessage(const String& text, std::function<void()> dismissed) override;
  Ref<Picture> MakePicture(const std::vector<PictureDrawing>& drawings) override;
  Ref<Picture> ReadPicture(const Ref<FolderItem>& file) override;
  void SetProgramIcon(const Ref<Picture>& icon) override;

 private:
  void Wait(bool may_block) override;
  void Repaint() override;
  // The session ends.
  bool eventFilter(QObject* watched, QEvent* event) override;

  // Qt keeps references to both.
  int argument_count_ = 1;
  std::vector<char*> arguments_;
  QApplication application_;
  // Does nothing but wake the wait when the loop has something to collect.
  QSocketNotifier wake_;
};

}  // namespace vantorel
