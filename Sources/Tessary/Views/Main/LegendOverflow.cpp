#include "LegendOverflow.h"

#include "LegendBar.h"

#include "Tessary/Model/Comparison.h"
#include "Tessary/Model/Palette.h"
#include "Tessary/Views/Chart/ChartFocus.h"

#include <QLineEdit>
#include <QListWidget>
#include <QStyle>
#include <QVBoxLayout>

namespace tessary {

namespace {

const QString searchPlaceholder = QStringLiteral("Find a ticker");
constexpr int popupWidth = 240;
constexpr int popupHeight = 360;

} // namespace

LegendOverflow::LegendOverflow(const Comparison& comparison, ChartFocus& focus, QWidget* parent)
    : QFrame(parent, Qt::Popup)
    , m_focus(focus)
{
    setObjectName(QStringLiteral("legendOverflow"));
    setAttribute(Qt::WA_DeleteOnClose);
    setFrameShape(QFrame::StyledPanel);
    resize(popupWidth, popupHeight);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 6);
    m_search = new QLineEdit(this);
    m_search->setPlaceholderText(searchPlaceholder);
    m_search->setClearButtonEnabled(true);
    m_list = new QListWidget(this);
    m_list->setUniformItemSizes(true);
    layout->addWidget(m_search);
    layout->addWidget(m_list, 1);

    const auto colors = Palette::seriesColors(comparison.series);
    for (std::size_t i = 0; i < comparison.series.size(); ++i) {
        auto* item = new QListWidgetItem(LegendBar::dot(colors[i]), comparison.series[i].ticker, m_list);
        // The box shows the pin; the whole row toggles it, so the box itself takes no clicks.
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
    }
    refreshChecks();
    connect(m_search, &QLineEdit::textChanged, this, &LegendOverflow::filter);
    const auto toggle = [this](QListWidgetItem* item) { m_focus.togglePinned(item->text()); };
    connect(m_list, &QListWidget::itemClicked, this, toggle);
    // Enter on a row; styles that activate on a single click already had it.
    if (!style()->styleHint(QStyle::SH_ItemView_ActivateItemOnSingleClick, nullptr, m_list))
        connect(m_list, &QListWidget::itemActivated, this, toggle);
    // Enter in the search toggles the first row still shown.
    connect(m_search, &QLineEdit::returnPressed, this, [this, toggle] {
        for (int row = 0; row < m_list->count(); ++row) {
            if (!m_list->item(row)->isHidden()) {
                toggle(m_list->item(row));
                return;
            }
        }
    });
    connect(&m_focus, &ChartFocus::pinnedChanged, this, &LegendOverflow::refreshChecks);
    m_search->setFocus();
}

void LegendOverflow::filter(const QString& text)
{
    const QString query = text.trimmed();
    for (int row = 0; row < m_list->count(); ++row) {
        QListWidgetItem* item = m_list->item(row);
        item->setHidden(!query.isEmpty() && !item->text().contains(query, Qt::CaseInsensitive));
    }
}

void LegendOverflow::refreshChecks()
{
    const QSignalBlocker blocker(m_list);
    for (int row = 0; row < m_list->count(); ++row) {
        QListWidgetItem* item = m_list->item(row);
        item->setCheckState(m_focus.isPinned(item->text()) ? Qt::Checked : Qt::Unchecked);
    }
}

} // namespace tessary
