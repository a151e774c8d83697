#include "HelpPopover.h"

#include "HelpTopics.h"

#include <QGuiApplication>
#include <QLabel>
#include <QScreen>
#include <QVBoxLayout>

namespace tessary {

namespace {

constexpr int popoverWidth = 340;
constexpr int margin = 14;

} // namespace

HelpPopover::HelpPopover(const HelpTopic& topic, QWidget* parent)
    : QFrame(parent, Qt::Popup)
{
    setObjectName(QStringLiteral("helpPopover"));
    setAttribute(Qt::WA_DeleteOnClose);
    setFrameShape(QFrame::StyledPanel);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(margin, 12, margin, 12);
    m_title = new QLabel(topic.title.toString(), this);
    QFont bold = m_title->font();
    bold.setBold(true);
    m_title->setFont(bold);
    m_body = new QLabel(topic.body.toString(), this);
    m_body->setWordWrap(true);
    // A popup sizes itself before any layout pass could wrap the text: the body is given
    // its width, and the height that width needs, up front.
    const int bodyWidth = popoverWidth - 2 * margin - 2 * frameWidth();
    m_body->setFixedSize(bodyWidth, m_body->heightForWidth(bodyWidth));
    layout->addWidget(m_title);
    layout->addWidget(m_body);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

HelpPopover* HelpPopover::open(const HelpTopic& topic, const QPoint& anchor, QWidget* parent)
{
    auto* popover = new HelpPopover(topic, parent);
    popover->adjustSize();
    QPoint at = anchor;
    // Kept on the screen: a heading near the right edge opens its help leftwards.
    if (const QScreen* screen = QGuiApplication::screenAt(anchor)) {
        const QRect available = screen->availableGeometry();
        at.setX(std::clamp(at.x(), available.left(), std::max(available.left(), available.right() - popover->width())));
        if (at.y() + popover->height() > available.bottom())
            at.setY(std::max(available.top(), anchor.y() - popover->height()));
    }
    popover->move(at);
    popover->show();
    return popover;
}

} // namespace tessary
