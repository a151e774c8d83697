#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

#include <expected>
#include <optional>

namespace tessary {

// Why a chart image could not be made or written; `description()` is the line the window shows.
struct ExportError {
    enum class Kind { draw, write };
    Kind kind;
    QString path; // for `write`
    QString reason; // the file system's words, for `write`

    QString description() const;
};

class ChartExportCard;

// Turns the export card into what leaves the app: a bitmap, PNG bytes, the clipboard, a file
// or an SVG document. A step that fails yields nothing, so a failed export never leaves a
// partial file or half-filled clipboard behind.
namespace ChartExporter {

// Device pixels per logical pixel: sharp on high-density screens.
inline constexpr double defaultScale = 2;
// The name of the copy command, also the object name of its action.
inline constexpr QStringView copyCommandName = u"TessaryCopyChartImage";
inline constexpr QStringView pngMimeType = u"image/png";

// The card rendered off-screen at `scale` device pixels per logical pixel.
std::optional<QImage> image(const ChartExportCard& card, double scale = defaultScale);
std::optional<QByteArray> png(const QImage& image);
// The card as SVG: text stays text, lines stay vector paths.
std::optional<QByteArray> svg(const ChartExportCard& card);
// Replaces the clipboard with the image and, when it encodes, its PNG bytes under
// "image/png". False when there was nothing to put there.
bool copy(const QImage& image);
// Writes `bytes` to `path` in one piece: the old file, or none, survives a failure.
std::expected<void, ExportError> save(const QByteArray& bytes, const QString& path);

} // namespace ChartExporter

} // namespace tessary
