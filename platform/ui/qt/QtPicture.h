// Pictures of the Qt back end.
#pragma once

#include <QIcon>
#include <QImage>
#include <QPainter>
#include <cstdint>
#include <vector>

#include "platform/ui/Picture.h"

namespace vantorel {

class QtPicture : public Picture {
 public:
  // See BackEnd.
  static Ref<QtPicture> FromDrawings(const std::vector<PictureDrawing>& drawings);
  static Ref<QtPicture> FromFile(const Ref<FolderItem>& file);

  std::int32_t Width() const override { return size_.width(); }
  std::int32_t Height() const override { return size_.height(); }

  // Paints the picture into `place`, from the drawing that suits the density of the painter's screen best.
  void Paint(QPainter& painter, const QRect& place) const;
  QIcon Icon() const;

 private:
  // The picture in the density of `scale` pixels for each logical one; read on first use and kept.
  const QImage& ImageFor(double scale) const;

  std::vector<PictureDrawing> drawings_;
  mutable QImage image_;
  mutable std::int32_t image_scale_ = 1;
  QSize size_;
};

}  // namespace vantorel
