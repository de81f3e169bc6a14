#include "platform/ui/qt/QtPicture.h"

#include <QFileInfo>
#include <QImageReader>
#include <QPixmap>
#include <algorithm>

namespace vantorel {

namespace {

// A picture with more pixels than this is no splash but a mistake: it would take 128 MiB and more.
constexpr qint64 kMostPixels = qint64{32} * 1024 * 1024;
constexpr int kAllocationLimitMiB = 128;

QImage Decoded(std::string_view file) {
  QImage image;
  image.loadFromData(reinterpret_cast<const uchar*>(file.data()), static_cast<int>(file.size()));
  return image;
}

// The form that is fastest to paint.
QImage ReadyToPaint(const QImage& image) {
  return image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied
                                                       : QImage::Format_RGB32);
}

}  // namespace

Ref<QtPicture> QtPicture::FromDrawings(const std::vector<PictureDrawing>& drawings) {
  auto picture = New<QtPicture>();
  picture->drawings_ = drawings;
  std::sort(picture->drawings_.begin(), picture->drawings_.end(),
            [](const auto& a, const auto& b) { return a.scale < b.scale; });
  const double least = picture->drawings_.front().scale;
  picture->size_ = picture->ImageFor(least).size() / least;
  if (picture->image_.isNull()) return nil;
  return picture;
}

Ref<QtPicture> QtPicture::FromFile(const Ref<FolderItem>& file) {
  const QString path = QString::fromStdString(file->Path());
  // A pipe or a device would keep the reader waiting for ever.
  if (!QFileInfo(path).isFile()) return nil;
  QImageReader::setAllocationLimit(kAllocationLimitMiB);
  QImageReader reader(path);
  reader.setDecideFormatFromContent(true);
  const QSize size = reader.size();
  if (size.isValid() && qint64{size.width()} * size.height() > kMostPixels) return nil;
  const QImage image = reader.read();
  if (image.isNull() || qint64{image.width()} * image.height() > kMostPixels) return nil;
  auto picture = New<QtPicture>();
  picture->image_ = ReadyToPaint(image);
  picture->size_ = image.size();
  return picture;
}

const QImage& QtPicture::ImageFor(double scale) const {
  if (drawings_.empty()) return image_;
  const auto enough = std::find_if(drawings_.begin(), drawings_.end(),
                                   [&](const auto& drawing) { return drawing.scale >= scale; });
  const PictureDrawing& best = enough == drawings_.end() ? drawings_.back() : *enough;
  if (image_.isNull() || image_scale_ != best.scale) {
    image_ = ReadyToPaint(Decoded(best.file));
    image_scale_ = best.scale;
  }
  return image_;
}

void QtPicture::Paint(QPainter& painter, const QRect& place) const {
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  painter.drawImage(place, ImageFor(painter.device()->devicePixelRatioF()));
}

QIcon QtPicture::Icon() const {
  QIcon icon;
  for (const PictureDrawing& drawing : drawings_) icon.addPixmap(QPixmap::fromImage(Decoded(drawing.file)));
  return icon;
}

}  // namespace vantorel
