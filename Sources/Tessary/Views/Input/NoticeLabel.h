#pragma once

#include <QLabel>

namespace tessary {

// A one-line message that never widens the window: a paste of thousands of unknown symbols
// gives a notice far longer than any screen, so it is shown cut to the width with the whole
// text in its tool tip.
class NoticeLabel : public QLabel {
    Q_OBJECT

public:
    explicit NoticeLabel(QWidget* parent = nullptr);

    void setNotice(const QString& notice);
    const QString& notice() const { return m_notice; }
    QSize minimumSizeHint() const override;
    QSize sizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void elide();

    QString m_notice;
};

} // namespace tessary
