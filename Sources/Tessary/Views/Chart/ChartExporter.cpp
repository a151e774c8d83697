#include "ChartExporter.h"

#include <QBuffer>
#include <QClipboard>
#include <QDir>
#include <QGuiApplication>
#include <QImageWriter>
#include <QMimeData>
#include <QPainter>
#include <QSaveFile>
#include <QSvgGenerator>

#include <cmath>

#include "ChartExportCard.h"

namespace tessary {

namespace {

const QString saveFailedText = QStringLiteral("Couldn't save the image to %1: %2");
const QString drawFailedText = QStringLiteral("Couldn't draw the chart image");

} // namespace

QString ExportError::description() const
{
    return kind == Kind::draw ? drawFailedText : saveFailedText.arg(QDir::toNativeSeparators(path), reason);
}

} // namespace tessary

namespace tessary::ChartExporter {

namespace {

// Qt's PNG writer turns quality into zlib's level as (100 − quality) × 9 / 91, so 80 is level
// 1: for a 2400-pixel card that halves the encoding time of the default and costs about 3 %
// in size.
constexpr int pngQuality = 80;
// The resolution bitmaps are laid out at, so the SVG's text comes out the size it measured.
constexpr int layoutDpi = 96;

} // namespace

std::optional<QImage> image(const ChartExportCard& card, double scale)
{
    if (!(scale > 0))
        return std::nullopt;
    const QSizeF logical = ChartExportCard::size();
    const QSize pixels(
        static_cast<int>(std::ceil(logical.width() * scale)), static_cast<int>(std::ceil(logical.height() * scale)));
    // Opaque: the card paints every pixel, and a PNG without alpha is smaller and quicker.
    QImage image(pixels, QImage::Format_RGB32);
    if (image.isNull())
        return std::nullopt;
    image.setDevicePixelRatio(scale);
    QPainter painter(&image);
    if (!painter.isActive())
        return std::nullopt;
    card.paint(painter);
    painter.end();
    return image;
}

std::optional<QByteArray> png(const QImage& image)
{
    if (image.isNull())
        return std::nullopt;
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "png");
    writer.setQuality(pngQuality);
    if (!writer.write(image))
        return std::nullopt;
    return bytes;
}

std::optional<QByteArray> svg(const ChartExportCard& card)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    const QSizeF logical = ChartExportCard::size();
    QSvgGenerator generator;
    generator.setOutputDevice(&buffer);
    generator.setSize(logical.toSize());
    generator.setViewBox(QRectF(QPointF(0, 0), logical));
    generator.setResolution(layoutDpi);
    generator.setTitle(card.title());
    QPainter painter;
    if (!painter.begin(&generator))
        return std::nullopt;
    card.paint(painter);
    if (!painter.end() || bytes.isEmpty())
        return std::nullopt;
    return bytes;
}

bool copy(const QImage& image)
{
    if (image.isNull())
        return false;
    auto* data = new QMimeData;
    data->setImageData(image);
    if (const auto bytes = png(image))
        data->setData(pngMimeType.toString(), *bytes);
    QGuiApplication::clipboard()->setMimeData(data);
    return true;
}

std::expected<void, ExportError> save(const QByteArray& bytes, const QString& path)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        return std::unexpected(ExportError { ExportError::Kind::write, path, file.errorString() });
    return {};
}

} // namespace tessary::ChartExporter
