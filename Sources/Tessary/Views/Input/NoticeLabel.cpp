#include "NoticeLabel.h"

namespace tessary {

namespace {

// Eliding measures the text; beyond what any screen shows there is nothing to measure.
constexpr qsizetype longestShown = 2000;

} // namespace

NoticeLabel::NoticeLabel(QWidget* parent)
    : QLabel(parent)
{
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    setTextFormat(Qt::PlainText);
}

void NoticeLabel::setNotice(const QString& notice)
{
    m_notice = notice;
    setToolTip(notice.size() > longestShown ? notice.left(longestShown) + QStringLiteral("…") : notice);
    setVisible(!notice.isEmpty());
    elide();
}

QSize NoticeLabel::minimumSizeHint() const
{
    return QSize(0, fontMetrics().height());
}

QSize NoticeLabel::sizeHint() const
{
    return QSize(100, fontMetrics().height());
}

void NoticeLabel::resizeEvent(QResizeEvent* event)
{
    QLabel::resizeEvent(event);
    elide();
}

void NoticeLabel::elide()
{
    const QString shown = m_notice.size() > longestShown ? m_notice.left(longestShown) + QStringLiteral("…") : m_notice;
    setText(fontMetrics().elidedText(shown, Qt::ElideRight, qMax(width(), 40)));
}

} // namespace tessary
