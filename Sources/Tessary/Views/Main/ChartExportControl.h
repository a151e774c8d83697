#pragma once

#include "Tessary/Views/Chart/ChartExporter.h"

#include <QWidget>

#include <expected>
#include <optional>

class QAction;
class QLabel;
class QTimer;
class QToolButton;

namespace tessary {

class ChartExportCard;
class ChartFocus;
class ChartView;
class Store;

// The chart's export button and the two commands behind it: copy the chart's export card to
// the clipboard, or save it as a PNG file. A copy is confirmed for a moment beside the button
// (its camera turning into a check mark); a failed save leaves one line there instead.
class ChartExportControl : public QWidget {
    Q_OBJECT

public:
    static constexpr QStringView buttonTip = u"Export this chart as an image to share (⇧⌘C copies it)";

    // `store`, `focus` and `chart` must outlive the control.
    ChartExportControl(Store& store, ChartFocus& focus, ChartView& chart, QWidget* parent = nullptr);

    QAction* copyAction() const { return m_copy; }
    QAction* saveAction() const { return m_save; }
    QToolButton* button() const { return m_button; }
    QLabel* messageLabel() const { return m_message; }

    // The card of what the chart shows now; nothing while there is no chart.
    std::optional<ChartExportCard> card() const;
    // Renders the card and writes it to `path` in one piece.
    std::expected<void, ExportError> saveTo(const QString& path);

public Q_SLOTS:
    void copy();
    // Asks for a file with a native dialog and saves there.
    void save();

private:
    void refreshEnabled();
    void showMessage(const QString& text, bool error);
    void restoreButton();

    Store& m_store;
    ChartFocus& m_focus;
    ChartView& m_chart;
    QAction* m_copy = nullptr;
    QAction* m_save = nullptr;
    QToolButton* m_button = nullptr;
    QLabel* m_message = nullptr;
    QTimer* m_restore = nullptr;
};

} // namespace tessary
