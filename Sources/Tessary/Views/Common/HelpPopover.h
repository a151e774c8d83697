#pragma once

#include <QFrame>

class QLabel;

namespace tessary {

struct HelpTopic;

// A help topic in a small popup beside what it explains; any click elsewhere or Escape
// closes it.
class HelpPopover : public QFrame {
    Q_OBJECT

public:
    // Opens below `anchor` (global coordinates, its top-left corner at the point).
    static HelpPopover* open(const HelpTopic& topic, const QPoint& anchor, QWidget* parent);

    QLabel* titleLabel() const { return m_title; }
    QLabel* bodyLabel() const { return m_body; }

private:
    HelpPopover(const HelpTopic& topic, QWidget* parent);

    QLabel* m_title = nullptr;
    QLabel* m_body = nullptr;
};

} // namespace tessary
