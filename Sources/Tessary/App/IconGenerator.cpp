// tessary-icons OUTPUT_DIR SIZE...: draws the app icon from the brand mark's geometry into a hicolor
// icon theme tree, as a scalable SVG and as a square PNG of each size given. Run by the
// build, so the icons can never drift from the mark the app draws.

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QPainter>
#include <QSaveFile>

#include <cstdio>
#include <functional>

#include "Tessary/Views/Chart/BrandGeometry.h"

using namespace tessary;

namespace {

// A sliver of transparent margin keeps the tiles clear of the edge a desktop may round.
constexpr double marginFraction = 1.0 / 32;
constexpr int svgHeight = 128;

bool write(const QString& path, const std::function<bool(QSaveFile&)>& fill)
{
    QDir().mkpath(QFileInfo(path).path());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || !fill(file) || !file.commit()) {
        std::fprintf(stderr, "tessary-icons: cannot write %s: %s\n", qPrintable(path), qPrintable(file.errorString()));
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: tessary-icons OUTPUT_DIR SIZE...\n");
        return 2;
    }
    const QDir root(QString::fromLocal8Bit(argv[1]));
    bool ok = write(root.filePath(QStringLiteral("hicolor/scalable/apps/tessary.svg")),
        [](QSaveFile& file) { return file.write(BrandGeometry::svg(svgHeight).toUtf8()) > 0; });
    for (int i = 2; i < argc; ++i) {
        const int size = QByteArray(argv[i]).toInt();
        if (size <= 0) {
            std::fprintf(stderr, "tessary-icons: not a size: %s\n", argv[i]);
            return 2;
        }
        QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        {
            QPainter painter(&image);
            const double margin = size * marginFraction;
            BrandGeometry::paint(painter, QRectF(0, 0, size, size).adjusted(margin, margin, -margin, -margin));
        }
        const QString path = root.filePath(QStringLiteral("hicolor/%1x%1/apps/tessary.png").arg(size));
        ok = write(path, [&image](QSaveFile& file) { return image.save(&file, "PNG"); }) && ok;
    }
    return ok ? 0 : 1;
}
