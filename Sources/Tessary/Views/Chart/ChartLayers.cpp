#include "ChartLayers.h"

#include <QPainter>

#include <cmath>
#include <cstring>

namespace tessary {

void ChartLayers::invalidate()
{
    m_plain = QImage();
    m_faded = QImage();
}

QImage& ChartLayers::base(const ChartPainter::Scene& scene, bool faded, const QFont& font)
{
    QImage& image = faded ? m_faded : m_plain;
    if (!image.isNull())
        return image;
    const QSize pixels(
        static_cast<int>(std::ceil(m_size.width() * m_ratio)), static_cast<int>(std::ceil(m_size.height() * m_ratio)));
    image = QImage(pixels, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(m_ratio);
    QPainter painter(&image);
    painter.setFont(font);
    ChartPainter::paintBase(painter, QRectF(QPointF(0, 0), QSizeF(m_size)), scene, faded);
    ++m_baseBuilds;
    return image;
}

const QImage& ChartLayers::compose(const ChartPainter::Scene& scene, QSize size, qreal ratio, const QFont& font)
{
    if (size != m_size || ratio != m_ratio) {
        m_size = size;
        m_ratio = ratio;
        invalidate();
    }
    const QImage& ground = base(scene, scene.anyHighlighted, font);
    // Copied into the picture's own pixels rather than shared: painting on a shared image
    // would allocate a fresh one every time.
    if (m_picture.size() != ground.size() || m_picture.format() != ground.format())
        m_picture = QImage(ground.size(), ground.format());
    m_picture.setDevicePixelRatio(ratio);
    std::memcpy(m_picture.bits(), ground.constBits(), static_cast<std::size_t>(ground.sizeInBytes()));
    QPainter painter(&m_picture);
    painter.setFont(font);
    if (scene.anyHighlighted)
        ChartPainter::paintHighlighted(painter, scene);
    ChartPainter::paintLabels(painter, scene);
    return m_picture;
}

} // namespace tessary
