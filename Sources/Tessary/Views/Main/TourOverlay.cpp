#include "TourOverlay.h"

#include <QApplication>
#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QVBoxLayout>

namespace tessary {

namespace {

constexpr int cardWidth = 340;
constexpr int spotlightMargin = 6;
constexpr int cardGap = 14;

} // namespace

TourOverlay::TourOverlay(std::vector<Step> steps, QWidget& window)
    : QWidget(&window)
    , m_steps(std::move(steps))
{
    setObjectName(QStringLiteral("tour"));
    setAttribute(Qt::WA_DeleteOnClose);
    setFocusPolicy(Qt::StrongFocus);
    m_card = new QWidget(this);
    m_card->setObjectName(QStringLiteral("tourCard"));
    m_card->setAttribute(Qt::WA_StyledBackground);
    m_card->setStyleSheet(QStringLiteral(
        "#tourCard { background: palette(window); border: 1px solid palette(mid); border-radius: 10px; }"));
    auto* layout = new QVBoxLayout(m_card);
    layout->setContentsMargins(16, 14, 16, 12);
    m_counter = new QLabel(m_card);
    m_counter->setForegroundRole(QPalette::PlaceholderText);
    m_title = new QLabel(m_card);
    m_title->setObjectName(QStringLiteral("tourTitle"));
    QFont bold = m_title->font();
    bold.setBold(true);
    bold.setPointSizeF(bold.pointSizeF() * 1.15);
    m_title->setFont(bold);
    m_text = new QLabel(m_card);
    m_text->setWordWrap(true);
    m_back = new QPushButton(backText.toString(), m_card);
    m_next = new QPushButton(m_card);
    m_next->setDefault(true);
    m_skip = new QPushButton(skipText.toString(), m_card);
    m_skip->setFlat(true);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_skip);
    buttons->addStretch(1);
    buttons->addWidget(m_back);
    buttons->addWidget(m_next);
    layout->addWidget(m_counter);
    layout->addWidget(m_title);
    layout->addWidget(m_text);
    layout->addSpacing(6);
    layout->addLayout(buttons);
    m_card->setFixedWidth(cardWidth);

    connect(m_back, &QPushButton::clicked, this, [this] { showStep(m_step - 1); });
    connect(m_next, &QPushButton::clicked, this, [this] {
        if (m_step + 1 < stepCount())
            showStep(m_step + 1);
        else
            dismiss();
    });
    connect(m_skip, &QPushButton::clicked, this, &TourOverlay::dismiss);
    // Follows the window's size, so the spotlight stays on its control.
    window.installEventFilter(this);
    qApp->installEventFilter(this);
    setGeometry(window.rect());
    QWidget::show();
    raise();
    showStep(0);
    m_next->setFocus();
}

QRect TourOverlay::spotlight() const
{
    const QWidget* target = m_steps[static_cast<std::size_t>(m_step)].target;
    if (!target || !target->isVisible())
        return {};
    const QRect area(target->mapTo(parentWidget(), QPoint(0, 0)), target->size());
    return area.adjusted(-spotlightMargin, -spotlightMargin, spotlightMargin, spotlightMargin);
}

void TourOverlay::showStep(int step)
{
    m_step = std::clamp(step, 0, stepCount() - 1);
    const Step& current = m_steps[static_cast<std::size_t>(m_step)];
    m_counter->setText(QStringLiteral("%1 of %2").arg(m_step + 1).arg(stepCount()));
    m_title->setText(current.title);
    m_text->setText(current.text);
    m_back->setEnabled(m_step > 0);
    m_next->setText((m_step + 1 == stepCount() ? doneText : nextText).toString());
    place();
}

void TourOverlay::place()
{
    m_card->adjustSize();
    const QRect spot = spotlight();
    const QSize card = m_card->size();
    QPoint at = rect().center() - QPoint(card.width() / 2, card.height() / 2);
    if (!spot.isEmpty()) {
        // Beside the control where there is room: right, below, left, then above.
        const QRect candidates[] = {
            QRect(QPoint(spot.right() + cardGap, spot.top()), card),
            QRect(QPoint(spot.left(), spot.bottom() + cardGap), card),
            QRect(QPoint(spot.left() - cardGap - card.width(), spot.top()), card),
            QRect(QPoint(spot.left(), spot.top() - cardGap - card.height()), card),
        };
        for (const QRect& candidate : candidates) {
            if (rect().contains(candidate)) {
                at = candidate.topLeft();
                break;
            }
        }
    }
    m_card->move(at);
    update();
}

void TourOverlay::dismiss()
{
    parentWidget()->removeEventFilter(this);
    qApp->removeEventFilter(this);
    Q_EMIT dismissed();
    close();
}

void TourOverlay::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath dim;
    dim.addRect(rect());
    const QRect spot = spotlight();
    if (!spot.isEmpty()) {
        QPainterPath hole;
        hole.addRoundedRect(spot, 8, 8);
        dim = dim.subtracted(hole);
        painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
        painter.drawRoundedRect(spot, 8, 8);
    }
    painter.fillPath(dim, QColor(0, 0, 0, 110));
}

bool TourOverlay::handleKey(int key)
{
    switch (key) {
    case Qt::Key_Escape:
        dismiss();
        return true;
    case Qt::Key_Right:
        m_next->click();
        return true;
    case Qt::Key_Left:
        if (m_step > 0)
            showStep(m_step - 1);
        return true;
    default:
        return false;
    }
}

bool TourOverlay::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == parentWidget() && event->type() == QEvent::Resize) {
        setGeometry(parentWidget()->rect());
        place();
    }
    // Whichever control of the window has the keyboard (the sidebar keeps it after a start),
    // the tour's keys are the tour's while it covers the window.
    if (event->type() == QEvent::KeyPress) {
        auto* widget = qobject_cast<QWidget*>(watched);
        if (widget && widget->window() == window())
            return handleKey(static_cast<QKeyEvent*>(event)->key());
    }
    return false;
}

} // namespace tessary
