#pragma once

#include <QPointer>
#include <QWidget>

#include <vector>

class QLabel;
class QPushButton;

namespace tessary {

// "Tessary Tour": a few steps over the main window, each dimming everything but one control
// and explaining it in a card beside it. The window stays as it is underneath; the tour only
// covers it until it is finished or skipped.
class TourOverlay : public QWidget {
    Q_OBJECT

public:
    struct Step {
        QPointer<QWidget> target; // none, or hidden: the card sits in the middle
        QString title;
        QString text;
    };

    static constexpr QStringView nextText = u"Next";
    static constexpr QStringView backText = u"Back";
    static constexpr QStringView doneText = u"Done";
    static constexpr QStringView skipText = u"Skip Tour";

    // Covers `window` and shows the first step.
    TourOverlay(std::vector<Step> steps, QWidget& window);

    int stepCount() const { return static_cast<int>(m_steps.size()); }
    QLabel* titleLabel() const { return m_title; }
    QPushButton* nextButton() const { return m_next; }
    QPushButton* skipButton() const { return m_skip; }
    // The part of the window left undimmed, in this widget's coordinates; empty for none.
    QRect spotlight() const;

Q_SIGNALS:
    // Finished or skipped; the overlay deletes itself afterwards.
    void dismissed();

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showStep(int step);
    void dismiss();
    void place();
    bool handleKey(int key);

    std::vector<Step> m_steps;
    int m_step = 0;
    QWidget* m_card = nullptr;
    QLabel* m_counter = nullptr;
    QLabel* m_title = nullptr;
    QLabel* m_text = nullptr;
    QPushButton* m_back = nullptr;
    QPushButton* m_next = nullptr;
    QPushButton* m_skip = nullptr;
};

} // namespace tessary
