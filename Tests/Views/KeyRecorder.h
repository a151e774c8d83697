#pragma once

#include <QKeyEvent>
#include <QList>
#include <QWidget>

namespace tessary::test {

// A window that records the keys that reach it, so a test can tell which keys a child
// widget consumed and which it passed on.
class KeyRecorder : public QWidget {
public:
    QList<QKeyCombination> keys;

protected:
    void keyPressEvent(QKeyEvent* event) override
    {
        // Modifier keys arrive on their own before the key they modify.
        if (!QList { Qt::Key_Shift, Qt::Key_Control, Qt::Key_Alt, Qt::Key_Meta }.contains(event->key()))
            keys.append(event->keyCombination());
    }
};

} // namespace tessary::test
