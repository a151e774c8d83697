#include "QuickJump.h"

#include "InputCommands.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QTimer>
#include <QVBoxLayout>

#include <utility>

#include "Tessary/Shell/Environment.h"
#include "Tessary/Store/Store.h"

namespace tessary {

namespace {

const QString placeholderText = QStringLiteral("Jump to a list…");
const QString myListsHeading = QStringLiteral("My Lists");
const QString curatedListsHeading = QStringLiteral("Curated Lists");
const QString noMatchPrefix = QStringLiteral("No list matches “");
const QString noMatchSuffix = QStringLiteral("”");
constexpr int resultRole = Qt::UserRole;
constexpr int panelWidth = 480;
constexpr int panelTop = 56;

} // namespace

QuickJump::QuickJump(Store& store, QWidget* over)
    : QFrame(over)
    , m_store(store)
    , m_over(over)
{
    setObjectName(QStringLiteral("quickJump"));
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Base);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 8);

    m_field = new QLineEdit(this);
    m_field->setObjectName(QStringLiteral("quickJumpField"));
    m_field->setPlaceholderText(placeholderText);
    m_field->installEventFilter(this);
    layout->addWidget(m_field);

    m_view = new QListWidget(this);
    m_view->setObjectName(QStringLiteral("quickJumpResults"));
    // The field keeps the keyboard; the list only shows and takes clicks.
    m_view->setFocusPolicy(Qt::NoFocus);
    m_view->setFrameShape(QFrame::NoFrame);
    connect(m_view, &QListWidget::itemClicked, this, [this](QListWidgetItem* item) {
        const QVariant index = item->data(resultRole);
        if (index.isValid())
            openResult(index.toInt());
    });
    layout->addWidget(m_view);

    m_empty = new QLabel(this);
    m_empty->setObjectName(QStringLiteral("quickJumpEmpty"));
    m_empty->setAlignment(Qt::AlignCenter);
    m_empty->setForegroundRole(QPalette::PlaceholderText);
    layout->addWidget(m_empty);

    connect(m_field, &QLineEdit::textChanged, this, &QuickJump::refresh);
    for (const auto signal : { &Store::listsChanged, &Store::catalogChanged })
        connect(&m_store, signal, this, [this] {
            if (isVisible())
                refresh();
        });
    if (m_over)
        m_over->installEventFilter(this);
    hide();
}

void QuickJump::useEnvironment(const Environment& environment)
{
    m_startQuery = environment.quickJump;
    if (m_startQuery && m_over && m_over->isVisible())
        QTimer::singleShot(0, this, &QuickJump::openWithStartQuery);
}

void QuickJump::openWithStartQuery()
{
    if (!m_startQuery)
        return;
    const QString query = *std::exchange(m_startQuery, std::nullopt);
    open();
    m_field->setText(query);
}

QString QuickJump::emptyText() const
{
    return m_results.empty() && !m_field->text().trimmed().isEmpty() ? noMatchPrefix + m_field->text() + noMatchSuffix
                                                                     : QString();
}

void QuickJump::open()
{
    m_field->clear();
    refresh();
    place();
    show();
    raise();
    m_field->setFocus(Qt::ShortcutFocusReason);
    // A click anywhere else closes it, as a popup would; it stays a child of the window so
    // that it moves and resizes with it.
    qApp->installEventFilter(this);
}

void QuickJump::dismiss()
{
    qApp->removeEventFilter(this);
    hide();
    if (m_over)
        m_over->setFocus(Qt::OtherFocusReason);
}

void QuickJump::openResult(int index)
{
    if (index < 0 || index >= static_cast<int>(m_results.size()))
        return;
    const SidebarItem item = m_results[static_cast<std::size_t>(index)].item;
    dismiss();
    m_store.select(item);
}

void QuickJump::refresh()
{
    const QString query = m_field->text();
    std::vector<JumpTarget> mine = rankTargets(myListTargets(m_store), query);
    std::vector<JumpTarget> curated = rankTargets(curatedListTargets(m_store), query);
    m_myListCount = static_cast<int>(mine.size());
    m_results = std::move(mine);
    m_results.insert(m_results.end(), std::make_move_iterator(curated.begin()), std::make_move_iterator(curated.end()));

    m_view->clear();
    const auto addHeading = [this](const QString& text) {
        auto* heading = new QListWidgetItem(text, m_view);
        heading->setFlags(Qt::NoItemFlags);
        QFont font = heading->font();
        font.setBold(true);
        heading->setFont(font);
    };
    for (int index = 0; index < static_cast<int>(m_results.size()); ++index) {
        if (index == 0 && m_myListCount > 0)
            addHeading(myListsHeading);
        if (index == m_myListCount)
            addHeading(curatedListsHeading);
        const JumpTarget& target = m_results[static_cast<std::size_t>(index)];
        const QString text
            = target.subtitle.isEmpty() ? target.title : target.title + QStringLiteral("  —  ") + target.subtitle;
        auto* item = new QListWidgetItem(text, m_view);
        item->setData(resultRole, index);
    }
    m_view->setVisible(!m_results.empty());
    m_empty->setText(emptyText());
    m_empty->setVisible(!m_empty->text().isEmpty());
    m_highlight = -1;
    setHighlight(0);
}

void QuickJump::setHighlight(int index)
{
    m_highlight = index;
    for (int row = 0; row < m_view->count(); ++row) {
        QListWidgetItem* item = m_view->item(row);
        const QVariant value = item->data(resultRole);
        if (value.isValid() && value.toInt() == index) {
            m_view->setCurrentItem(item);
            m_view->scrollToItem(item);
            return;
        }
    }
    m_view->setCurrentItem(nullptr);
}

void QuickJump::place()
{
    if (!m_over)
        return;
    const int width = std::min(panelWidth, m_over->width() - 32);
    const int height = std::min(420, m_over->height() - panelTop - 16);
    setGeometry((m_over->width() - width) / 2, panelTop, width, std::max(height, m_field->sizeHint().height() + 24));
}

bool QuickJump::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_field && event->type() == QEvent::KeyPress)
        return handleKey(static_cast<QKeyEvent*>(event));
    if (event->type() == QEvent::MouseButtonPress && watched->isWidgetType()) {
        auto* target = static_cast<QWidget*>(watched);
        if (target != this && !isAncestorOf(target))
            dismiss();
    }
    if (watched == m_over) {
        if (event->type() == QEvent::Resize)
            place();
        if (event->type() == QEvent::Show && m_startQuery)
            QTimer::singleShot(0, this, &QuickJump::openWithStartQuery);
    }
    return QFrame::eventFilter(watched, event);
}

bool QuickJump::handleKey(QKeyEvent* event)
{
    if (holdsCommandModifier(*event))
        return false;
    const int count = static_cast<int>(m_results.size());
    switch (event->key()) {
    case Qt::Key_Escape:
        dismiss();
        return true;
    // Unlike the ticker field, the list wraps: it is short and browsed in circles.
    case Qt::Key_Down:
        if (count > 0)
            setHighlight((m_highlight + 1) % count);
        return true;
    case Qt::Key_Up:
        if (count > 0)
            setHighlight((m_highlight - 1 + count) % count);
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        openResult(m_highlight);
        return true;
    default:
        return false;
    }
}

} // namespace tessary
