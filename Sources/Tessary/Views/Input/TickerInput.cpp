#include "TickerInput.h"

#include "InputCommands.h"
#include "NoticeLabel.h"
#include "SuggestionList.h"
#include "TickerEntry.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QTimer>
#include <QVBoxLayout>

#include <limits>

#include "Tessary/Shell/Environment.h"

namespace tessary {

namespace {

const QString benchmarkNotice = QStringLiteral(" is this list's benchmark");
const QString duplicateNotice = QStringLiteral(" is already in this list");
constexpr int startQueryDelayMilliseconds = 1500;
// Long enough to read a line; the next submission replaces it anyway.
constexpr int noticeMilliseconds = 12'000;

} // namespace

TickerInput::TickerInput(Store& store, QWidget* parent)
    : QWidget(parent)
    , m_store(store)
{
    setObjectName(QStringLiteral("tickerInput"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);

    m_field = new QLineEdit(this);
    m_field->setObjectName(QStringLiteral("tickerField"));
    m_field->setClearButtonEnabled(true);
    // A pasted portfolio may run to tens of thousands of characters; the default cap would cut
    // it silently in the middle of a symbol.
    m_field->setMaxLength(std::numeric_limits<int>::max());
    m_field->installEventFilter(this);
    layout->addWidget(m_field);

    m_notice = new NoticeLabel(this);
    m_notice->setObjectName(QStringLiteral("tickerNotice"));
    m_notice->setForegroundRole(QPalette::PlaceholderText);
    m_notice->hide();
    layout->addWidget(m_notice);

    m_list = new SuggestionList(this);
    m_list->hide();
    connect(m_list, &SuggestionList::clicked, this, [this](int row) {
        if (row >= 0 && row < static_cast<int>(m_suggestions.size()))
            pick(m_suggestions[static_cast<std::size_t>(row)]);
    });

    m_noticeTimer = new QTimer(this);
    m_noticeTimer->setSingleShot(true);
    m_noticeTimer->setInterval(noticeMilliseconds);
    connect(m_noticeTimer, &QTimer::timeout, this, [this] { setNotice({}); });

    connect(m_field, &QLineEdit::textChanged, this, [this] {
        m_highlight = 0;
        refreshSuggestions();
    });
    connect(&m_store, &Store::universeChanged, this, [this] {
        m_field->setPlaceholderText(tickerPlaceholder(m_store.universe().size()));
        refreshSuggestions();
    });
    // The marks depend on the list's tickers and benchmark.
    connect(&m_store, &Store::listsChanged, this, &TickerInput::refreshSuggestions);
    connect(&m_store, &Store::selectionChanged, this, &TickerInput::refreshForSelection);
    m_field->setPlaceholderText(tickerPlaceholder(m_store.universe().size()));
    refreshForSelection();
}

const QString& TickerInput::notice() const
{
    return m_notice->notice();
}

void TickerInput::useEnvironment(const Environment& environment)
{
    m_startQuery = environment.tickerQuery;
}

void TickerInput::focusField()
{
    window()->activateWindow();
    m_field->setFocus(Qt::ShortcutFocusReason);
}

void TickerInput::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (m_appeared)
        return;
    m_appeared = true;
    if (m_startQuery) {
        QTimer::singleShot(startQueryDelayMilliseconds, this, [this] {
            focusField();
            m_field->setText(*m_startQuery);
        });
    }
}

void TickerInput::refreshForSelection()
{
    setNotice({});
    if (parentWidget())
        setVisible(m_store.selectionIsEditable());
    refreshSuggestions();
}

void TickerInput::refreshSuggestions()
{
    const QStringView token = lastTickerToken(m_field->text());
    m_suggestions = token.isEmpty() ? std::vector<TickerInfo> {} : m_store.suggestions(token, {}, suggestionLimit);
    const ComparisonList* list = m_store.selectedList();
    m_list->setSuggestions(m_suggestions, list);
    m_list->setHighlight(m_highlight);
    placeList();
}

void TickerInput::placeList()
{
    m_list->showBelow(*m_field, !m_suggestions.empty() && m_field->hasFocus() && isVisible());
}

bool TickerInput::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_field) {
        switch (event->type()) {
        case QEvent::KeyPress:
            return handleKey(static_cast<QKeyEvent*>(event));
        case QEvent::FocusIn:
        case QEvent::FocusOut:
        case QEvent::Resize:
        case QEvent::Move:
            placeList();
            break;
        default:
            break;
        }
    }
    return QWidget::eventFilter(watched, event);
}

bool TickerInput::handleKey(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        submit();
        return true;
    case Qt::Key_Escape:
        // An empty field lets Escape go on to whatever the window does with it.
        if (m_field->text().isEmpty())
            return false;
        m_field->clear();
        return true;
    case Qt::Key_Down:
    case Qt::Key_Up: {
        // Arrows belong to the rows only while the field has the keyboard and no command is meant.
        if (!m_field->hasFocus() || m_suggestions.empty() || holdsCommandModifier(*event))
            return false;
        m_highlight = m_list->highlightAfter(event->key());
        m_list->setHighlight(m_highlight);
        return true;
    }
    default:
        return false;
    }
}

void TickerInput::submit()
{
    const QStringList tokens = tickerTokens(m_field->text());
    if (tokens.isEmpty())
        return;
    // A complete symbol typed by the user wins over whatever row is highlighted.
    if (!m_store.universe().find(tokens.last().toUpper())) {
        if (m_highlight >= 0 && m_highlight < static_cast<int>(m_suggestions.size())) {
            pick(m_suggestions[static_cast<std::size_t>(m_highlight)]);
            return;
        }
    }
    apply(m_store.addTickers(tokens));
    m_field->clear();
    m_highlight = 0;
}

void TickerInput::pick(const TickerInfo& suggestion)
{
    const ComparisonList* list = m_store.selectedList();
    if (list && suggestion.symbol == list->benchmark)
        setNotice(suggestion.symbol + benchmarkNotice);
    else if (list && list->tickers.contains(suggestion.symbol))
        setNotice(suggestion.symbol + duplicateNotice);
    else
        add(suggestion.symbol, true);
    m_field->setFocus(Qt::OtherFocusReason);
}

void TickerInput::add(const QString& symbol, bool replacingLastToken)
{
    QStringList tokens = tickerTokens(m_field->text());
    if (replacingLastToken && !tokens.isEmpty())
        tokens.removeLast();
    tokens.append(symbol);
    apply(m_store.addTickers(tokens));
    m_field->clear();
    m_highlight = 0;
    m_field->setFocus(Qt::OtherFocusReason);
}

void TickerInput::apply(const Store::AddResult& result)
{
    setNotice(addNotice(result));
}

void TickerInput::setNotice(const QString& notice)
{
    if (notice.isEmpty())
        m_noticeTimer->stop();
    else
        m_noticeTimer->start();
    if (notice == m_notice->notice())
        return;
    m_notice->setNotice(notice);
    Q_EMIT noticeChanged(notice);
}

} // namespace tessary
