#include "ChartExportControl.h"

#include "Tessary/Shell/FeatureFlags.h"
#include "Tessary/Store/Store.h"
#include "Tessary/Views/Chart/ChartExportCard.h"
#include "Tessary/Views/Chart/ChartExporter.h"
#include "Tessary/Views/Chart/ChartFocus.h"
#include "Tessary/Views/Chart/ChartView.h"

#include <QAction>
#include <QDir>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QStandardPaths>
#include <QTimer>
#include <QToolButton>

namespace tessary {

namespace {

const QString copyText = QStringLiteral("Copy Chart Image");
const QString saveText = QStringLiteral("Save Image…");
const QString copiedText = QStringLiteral("Copied to clipboard");
const QString pngFilter = QStringLiteral("PNG image (*.png)");
constexpr int confirmationMilliseconds = 1600;
constexpr int iconSize = 18;

enum class Glyph { camera, check };

// Drawn rather than taken from the icon theme, which need not have a camera at all.
QIcon glyphIcon(Glyph glyph, const QColor& color)
{
    QIcon icon;
    for (const int scale : { 1, 2 }) {
        QPixmap pixmap(iconSize * scale, iconSize * scale);
        pixmap.setDevicePixelRatio(scale);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing, true);
        painter.setPen(QPen(color, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.setBrush(Qt::NoBrush);
        if (glyph == Glyph::camera) {
            QPainterPath body;
            body.moveTo(2.5, 6);
            body.lineTo(6, 6);
            body.lineTo(7.5, 3.5);
            body.lineTo(10.5, 3.5);
            body.lineTo(12, 6);
            body.lineTo(15.5, 6);
            body.lineTo(15.5, 14.5);
            body.lineTo(2.5, 14.5);
            body.closeSubpath();
            painter.drawPath(body);
            painter.drawEllipse(QPointF(9, 10), 2.6, 2.6);
        } else {
            painter.drawPolyline(QPolygonF({ QPointF(3.5, 9.5), QPointF(7.5, 13.5), QPointF(14.5, 4.5) }));
        }
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

} // namespace

ChartExportControl::ChartExportControl(Store& store, ChartFocus& focus, ChartView& chart, QWidget* parent)
    : QWidget(parent)
    , m_store(store)
    , m_focus(focus)
    , m_chart(chart)
{
    setObjectName(QStringLiteral("chartExport"));
    m_copy = new QAction(copyText, this);
    m_copy->setObjectName(ChartExporter::copyCommandName.toString());
    m_copy->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_C));
    connect(m_copy, &QAction::triggered, this, &ChartExportControl::copy);
    m_save = new QAction(saveText, this);
    connect(m_save, &QAction::triggered, this, &ChartExportControl::save);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_message = new QLabel(this);
    m_message->setObjectName(QStringLiteral("exportMessage"));
    m_message->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_message->hide();
    m_button = new QToolButton(this);
    m_button->setObjectName(QStringLiteral("exportButton"));
    m_button->setToolTip(buttonTip.toString());
    m_button->setAutoRaise(true);
    m_button->setIconSize(QSize(iconSize, iconSize));
    m_button->setPopupMode(QToolButton::InstantPopup);
    auto* menu = new QMenu(m_button);
    menu->addAction(m_copy);
    menu->addAction(m_save);
    m_button->setMenu(menu);
    layout->addWidget(m_message);
    layout->addWidget(m_button);
    restoreButton();

    m_restore = new QTimer(this);
    m_restore->setSingleShot(true);
    m_restore->setInterval(confirmationMilliseconds);
    connect(m_restore, &QTimer::timeout, this, [this] {
        restoreButton();
        m_message->hide();
    });

    for (const auto signal : { &Store::comparisonChanged, &Store::selectionChanged })
        connect(&m_store, signal, this, &ChartExportControl::refreshEnabled);
    connect(&FeatureFlags::shared(), &FeatureFlags::changed, this, &ChartExportControl::refreshEnabled);
    refreshEnabled();
}

void ChartExportControl::refreshEnabled()
{
    // Asked here, not once: a switch in Settings shows or hides the control at once.
    const bool offered = FeatureFlags::shared().isEnabled(Feature::chartExport);
    setVisible(offered);
    const bool ready = offered && card().has_value();
    m_copy->setEnabled(ready);
    m_save->setEnabled(ready);
    m_button->setEnabled(ready);
}

std::optional<ChartExportCard> ChartExportControl::card() const
{
    const auto& comparison = m_store.comparison();
    if (!comparison || comparison->series.empty() || !m_store.selection())
        return std::nullopt;
    QString name;
    if (const ComparisonList* list = m_store.selectedList())
        name = list->name;
    else if (const auto* collection = m_store.selectedCollection())
        name = collection->name;
    // The card follows the zoomed range only while the zoom itself is offered.
    const bool zoomed = m_chart.zoomToPinned() && FeatureFlags::shared().isEnabled(Feature::highlightZoom);
    return ChartExportCard({ name, m_store.selectedPeriod(), comparison, m_chart.logScale(), zoomed }, m_focus);
}

void ChartExportControl::copy()
{
    const auto exported = card();
    const auto image = exported ? ChartExporter::image(*exported) : std::nullopt;
    if (!image || !ChartExporter::copy(*image))
        return;
    m_button->setIcon(glyphIcon(Glyph::check, palette().color(QPalette::ButtonText)));
    showMessage(copiedText, false);
    m_restore->start();
}

void ChartExportControl::save()
{
    const auto exported = card();
    if (!exported)
        return;
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    // Opened window-modal without a nested event loop; the answer arrives as a signal.
    auto* dialog = new QFileDialog(window(), saveText, QDir(folder).filePath(exported->suggestedFileName()), pngFilter);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setDefaultSuffix(QStringLiteral("png"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString& path) {
        if (const auto saved = saveTo(path); !saved)
            showMessage(saved.error().description(), true);
    });
    dialog->open();
}

std::expected<void, ExportError> ChartExportControl::saveTo(const QString& path)
{
    const auto exported = card();
    const auto image = exported ? ChartExporter::image(*exported) : std::nullopt;
    const auto bytes = image ? ChartExporter::png(*image) : std::nullopt;
    if (!bytes)
        return std::unexpected(ExportError { ExportError::Kind::draw, {}, {} });
    m_message->hide();
    return ChartExporter::save(*bytes, path);
}

void ChartExportControl::showMessage(const QString& text, bool error)
{
    m_message->setText(text);
    m_message->setStyleSheet(error ? QStringLiteral("QLabel { color: #c92a2a; }") : QString());
    m_message->setForegroundRole(error ? QPalette::WindowText : QPalette::PlaceholderText);
    m_message->show();
}

void ChartExportControl::restoreButton()
{
    m_button->setIcon(glyphIcon(Glyph::camera, palette().color(QPalette::ButtonText)));
}

} // namespace tessary
