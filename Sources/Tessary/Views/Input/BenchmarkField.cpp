#include "BenchmarkField.h"

#include "InputCommands.h"
#include "SuggestionList.h"

#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>

#include "Tessary/Store/Store.h"

namespace tessary {

BenchmarkField::BenchmarkField(Store& store, QWidget* parent)
    : QWidget(parent)
    , m_store(store)
{
    setObjectName(QStringLiteral("benchmarkField"));
    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setHorizontalSpacing(6);
    layout->setVerticalSpacing(2);
    auto* label = new QLabel(labelText.toString(), this);
    label->setForegroundRole(QPalette::PlaceholderText);
    m_field = new QLineEdit(this);
    m_field->setObjectName(QStringLiteral("benchmarkEdit"));
    m_field->setFixedWidth(fontMetrics().horizontalAdvance(QStringLiteral("WWWWWWWW")));
    m_field->installEventFilter(this);
    label->setBuddy(m_field);
    m_notice = new QLabel(this);
    m_notice->setObjectName(QStringLiteral("benchmarkNotice"));
    m_notice->setStyleSheet(QStringLiteral("QLabel { color: #c92a2a; }"));
    m_notice->hide();
    layout->addWidget(label, 0, 0);
    layout->addWidget(m_field, 0, 1);
    layout->addWidget(m_notice, 1, 0, 1, 2, Qt::AlignRight);

    m_list = new SuggestionList(this);
    m_list->hide();
    connect(m_list, &SuggestionList::clicked, this, [this](int row) {
        if (row >= 0 && row < static_cast<int>(m_suggestions.size()))
            choose(m_suggestions[static_cast<std::size_t>(row)].symbol);
    });
    connect(m_field, &QLineEdit::textEdited, this, [this] {
        m_highlight = 0;
        m_notice->hide();
        refreshSuggestions();
    });
    connect(&m_store, &Store::selectionChanged, this, &BenchmarkField::refreshForSelection);
    connect(&m_store, &Store::listsChanged, this, &BenchmarkField::refreshForSelection);
    refreshForSelection();
}

QString BenchmarkField::notice() const
{
    return m_notice->isHidden() ? QString() : m_notice->text();
}

void BenchmarkField::refreshForSelection()
{
    const ComparisonList* list = m_store.selectionIsEditable() ? m_store.selectedList() : nullptr;
    setVisible(list != nullptr);
    // Someone typing keeps their text; the list's benchmark shows again when they leave.
    if (list && !m_field->hasFocus())
        m_field->setText(list->benchmark);
}

void BenchmarkField::refreshSuggestions()
{
    const QString query = m_field->text().trimmed();
    const ComparisonList* list = m_store.selectedList();
    m_suggestions = query.isEmpty() || (list && query.compare(list->benchmark, Qt::CaseInsensitive) == 0)
        ? std::vector<TickerInfo> {}
        : m_store.suggestions(query, {}, suggestionLimit);
    m_list->setSuggestions(m_suggestions, list);
    m_list->setHighlight(m_highlight);
    m_list->showBelow(*m_field, !m_suggestions.empty() && m_field->hasFocus());
}

void BenchmarkField::submit()
{
    const QString typed = m_field->text().trimmed().toUpper();
    if (typed.isEmpty()) {
        revert();
        return;
    }
    // A complete symbol typed wins over the highlighted row, as in the ticker field.
    if (!m_store.universe().isEmpty() && !m_store.universe().find(typed)) {
        if (m_highlight >= 0 && m_highlight < static_cast<int>(m_suggestions.size())) {
            choose(m_suggestions[static_cast<std::size_t>(m_highlight)].symbol);
            return;
        }
        m_notice->setText(notFoundPrefix.toString() + typed);
        m_notice->show();
        return;
    }
    choose(typed);
}

void BenchmarkField::choose(const QString& symbol)
{
    const ComparisonList* list = m_store.selectedList();
    // A ticker of the list that becomes its benchmark leaves the tickers, so it is not drawn twice.
    if (list && list->tickers.contains(symbol))
        m_store.makeBenchmark(symbol);
    else
        m_store.setBenchmark(symbol);
    m_notice->hide();
    m_field->clearFocus();
    revert();
}

void BenchmarkField::revert()
{
    m_suggestions.clear();
    m_highlight = 0;
    m_list->hide();
    if (const ComparisonList* list = m_store.selectedList())
        m_field->setText(list->benchmark);
}

bool BenchmarkField::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != m_field)
        return QWidget::eventFilter(watched, event);
    if (event->type() == QEvent::FocusOut) {
        revert();
    } else if (event->type() == QEvent::FocusIn) {
        m_field->selectAll();
    } else if (event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        switch (key->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
            submit();
            return true;
        case Qt::Key_Escape:
            m_notice->hide();
            m_field->clearFocus();
            return true;
        case Qt::Key_Down:
        case Qt::Key_Up: {
            if (m_suggestions.empty() || holdsCommandModifier(*key))
                return false;
            m_highlight = m_list->highlightAfter(key->key());
            m_list->setHighlight(m_highlight);
            return true;
        }
        default:
            break;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace tessary
